"""Many files through one chain on a Dask cluster: the job of `qxfx process --out-dir`.

    from qxppack1.dask import process_files
    report = process_files(paths, "out", [Effect("reverb", preset="Plate")])

One task per file; each output is written whole or not at all, under its own name in out_dir.
"""
import os

from . import Chain, _Effect
from ._qxppack1 import _process_file

__all__ = ["process_files"]


def _states(chain):
    if isinstance(chain, (_Effect, str)):
        chain = [chain]
    return [e.state for e in Chain(chain)]


def _process_one(path, out, states):
    """One file; the report says what became of it, whatever happened."""
    report = {"path": path, "output": out, "ok": False, "error": None}
    try:
        report.update(_process_file(path, out, states))
        report["ok"] = True
    except Exception as e:  # the report carries it; other files go on
        report["error"] = str(e)
    return report


def process_files(paths, out_dir, chain, client=None):
    """Runs each file of `paths` through `chain` (an Effect, a Chain, or a list of effects or names)
    into `out_dir`, one Dask task per file, on `client` or else on a LocalCluster made for the job.
    Returns one report per path, in order: path, output, ok, error, frames_in, frames_out,
    sample_rate, seconds. A file that fails is reported and stops no other."""
    if isinstance(paths, (str, os.PathLike)):
        paths = [paths]
    paths = [os.fspath(p) for p in paths]
    states = _states(chain)
    os.makedirs(out_dir, exist_ok=True)
    outputs = [os.path.join(os.fspath(out_dir), os.path.basename(p)) for p in paths]
    seen = {}
    for p, o in zip(paths, outputs):
        if o in seen:
            raise ValueError(f"{seen[o]} and {p} would both be written to {o}.")
        seen[o] = p

    from distributed import Client, LocalCluster

    if client is None:
        with LocalCluster(dashboard_address=None) as cluster, Client(cluster) as own:
            return _run(own, paths, outputs, states)
    return _run(client, paths, outputs, states)


def _run(client, paths, outputs, states):
    futures = [client.submit(_process_one, p, o, states, pure=False) for p, o in zip(paths, outputs)]
    reports = []
    for p, o, f in zip(paths, outputs, futures):
        try:
            reports.append(f.result())
        except Exception as e:  # the worker itself died: the file is reported, the rest go on
            reports.append({"path": p, "output": o, "ok": False, "error": f"the task failed: {e}"})
    return reports
