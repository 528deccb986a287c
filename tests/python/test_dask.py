"""process_files on a two-worker LocalCluster writes what qxfx --out-dir writes, and a bad file is
reported without stopping the others."""
import numpy as np
from distributed import Client, LocalCluster

import qxppack1
from qxppack1.dask import process_files
import wavio


def test_process_files_equals_qxfx_out_dir(tmp_path):
    rng = np.random.default_rng(3)
    good = []
    for i, dtype in enumerate((np.int16, np.float32)):
        x = rng.uniform(-0.3, 0.3, (4000 + 1000 * i, 2))
        path = tmp_path / f"clip{i}.wav"
        wavio.write(path, np.round(x * 32767).astype(dtype) if dtype == np.int16 else x.astype(dtype), 32000)
        good.append(str(path))
    bad = tmp_path / "broken.wav"
    bad.write_bytes(b"RIFF\x10\x00\x00\x00WAVEjunk")
    chain = [qxppack1.Effect("pitch-shift", preset="Third down"), qxppack1.Effect("reverb", preset="Plate")]

    # Workers as threads: they start and stop in a moment, also under the sanitizers, where worker
    # processes outlive the nanny's patience; tasks, transport and reports are the same.
    with LocalCluster(n_workers=2, threads_per_worker=1, processes=False, dashboard_address=None) as cluster, \
            Client(cluster) as client:
        reports = process_files(good + [str(bad)], tmp_path / "py", chain, client=client)
    wavio.qxfx("process", "--out-dir", str(tmp_path / "cli"), *good,
               "pitch-shift", "--preset", "Third down", "+", "reverb", "--preset", "Plate")

    assert [r["ok"] for r in reports] == [True, True, False]
    assert "broken.wav" in reports[2]["error"] and not (tmp_path / "py" / "broken.wav").exists()
    for path in good:
        name = path.rsplit("/", 1)[1]
        # The same form and samples (a float file's PEAK chunk carries the time it was written).
        got, want = wavio.read(tmp_path / "py" / name), wavio.read(tmp_path / "cli" / name)
        assert got.dtype == want.dtype
        np.testing.assert_array_equal(got, want)
