"""The Python module against qxfx: same audio, same presets and states; streaming, chains, threads
and the errors a caller meets."""
import pickle
import struct
import threading

import numpy as np
import pytest

import qxppack1
import wavio

RATE = 44100
# One non-default setting per effect, named as qxfx and Python both take it.
PRESETS = {
    "simple-delay": "Slap-back echo",
    "multi-tap-delay": "Small hall 1",
    "reverb": "Cathedral",
    "chorus": "Fast flange 1",
    "time-stretch": "Time expand 110 % of original",
    "pitch-shift": "Fifth up",
}
IN_PLACE = ["simple-delay", "multi-tap-delay", "reverb", "chorus"]


def signal(dtype, frames=9000, channels=2):
    rng = np.random.default_rng(7)
    x = rng.uniform(-0.5, 0.5, (frames, channels))
    x[frames // 2:] *= 0.01  # a quiet half, where tails and small values show
    if dtype == np.int16:
        return np.round(x * 32767).astype(np.int16)
    return x.astype(dtype)


@pytest.mark.parametrize("dtype", [np.int16, np.float32])
@pytest.mark.parametrize("name", sorted(PRESETS))
def test_process_equals_qxfx(tmp_path, name, dtype):
    x = signal(dtype)
    wavio.write(tmp_path / "in.wav", x, RATE)
    wavio.qxfx("process", str(tmp_path / "in.wav"), str(tmp_path / "out.wav"), name, "--preset", PRESETS[name])
    want = wavio.read(tmp_path / "out.wav")
    got = qxppack1.Effect(name, preset=PRESETS[name]).process(x, RATE)
    assert got.dtype == x.dtype
    np.testing.assert_array_equal(got, want)


@pytest.mark.parametrize("dtype", [np.int16, np.int32, np.float32, np.float64])
@pytest.mark.parametrize("name", IN_PLACE)
def test_stream_of_odd_blocks_equals_one_shot(name, dtype):
    e = qxppack1.Effect(name, preset=PRESETS[name])
    x = signal(dtype, frames=12000)
    whole = e.process(x, RATE)
    np.testing.assert_array_equal(e.process(x, RATE, tail=False), whole[:len(x)])
    for sizes in ([1, 7, 4095, 4097, 333], [5000]):
        e.reset(RATE)
        blocks, at, k = [], 0, 0
        while at < len(x):
            n = sizes[k % len(sizes)]
            blocks.append(e(x[at:at + n]))
            at, k = at + n, k + 1
        blocks.append(e.flush())
        np.testing.assert_array_equal(np.concatenate(blocks), whole)


def test_chain_equals_one_after_another_and_qxfx(tmp_path):
    x = signal(np.float32)
    effects = [qxppack1.Effect("pitch-shift", preset="Fifth down"), qxppack1.Effect("reverb", preset="Plate")]
    got = qxppack1.chain(effects).process(x, RATE)
    np.testing.assert_array_equal(got, effects[1].process(effects[0].process(x, RATE), RATE))
    wavio.write(tmp_path / "in.wav", x, RATE)
    wavio.qxfx("process", str(tmp_path / "in.wav"), str(tmp_path / "out.wav"),
               "pitch-shift", "--preset", "Fifth down", "+", "reverb", "--preset", "Plate")
    np.testing.assert_array_equal(got, wavio.read(tmp_path / "out.wav"))


@pytest.mark.parametrize("name", sorted(PRESETS))
def test_presets_states_and_params_round_trip(tmp_path, name):
    e = qxppack1.Effect(name, preset=PRESETS[name])
    assert e.presets[0] == "(Default)" and PRESETS[name] in e.presets
    # Each parameter that sounds, set to its far end and read back, survives a state round trip.
    for key, info in e.params.items():
        if info["sound"] and info["kind"] != "toggle":
            setattr(e, key, info["max"])
            assert getattr(e, key) == pytest.approx(info["max"])
    for copy in (qxppack1.Effect.from_state(e.state), pickle.loads(pickle.dumps(e))):
        assert copy.name == name and copy.state == e.state
    # The state is what qxfx --load-state reads.
    (tmp_path / "state").write_bytes(e.state)
    x = signal(np.int16, frames=3000)
    wavio.write(tmp_path / "in.wav", x, RATE)
    wavio.qxfx("process", str(tmp_path / "in.wav"), str(tmp_path / "out.wav"), name,
               "--load-state", str(tmp_path / "state"))
    np.testing.assert_array_equal(e.process(x, RATE), wavio.read(tmp_path / "out.wav"))


def test_keywords_in_natural_units():
    e = qxppack1.Effect("simple-delay", DelayOut=-10, DelayTime="250 ms")
    assert (e.DelayOut, e.DelayTime) == (-10, 250)
    p = qxppack1.Effect("pitch-shift", Semitones=12)
    assert p.Ratio == pytest.approx(2.0)  # the sound follows, as on the page
    assert len(p.process(signal(np.float32), RATE)) == pytest.approx(9000 / 2, abs=2)


def test_two_threads_equal_one_after_the_other():
    jobs = [(qxppack1.Effect("reverb", preset="Cathedral"), signal(np.float32, 60000)),
            (qxppack1.Effect("pitch-shift", preset="Third up"), signal(np.int16, 60000))]
    alone = [e.process(x, RATE) for e, x in jobs]
    together = [None, None]

    def run(i):
        together[i] = jobs[i][0].process(jobs[i][1], RATE)

    threads = [threading.Thread(target=run, args=(i,)) for i in range(2)]
    for t in threads:
        t.start()
    for t in threads:
        t.join()
    for a, b in zip(alone, together):
        np.testing.assert_array_equal(a, b)


ERRORS = [
    (lambda: qxppack1.Effect("flanger"), "unknown effect"),
    (lambda: qxppack1.Effect("reverb", preset="Bathroom"), "unknown preset"),
    (lambda: qxppack1.Effect("reverb", Loudness=3), "unknown parameter"),
    (lambda: qxppack1.Effect("reverb", DecayTime=99), "between"),
    (lambda: qxppack1.Effect("reverb", ReverbMode="Nowhere"), "ReverbMode"),
    (lambda: qxppack1.Effect.from_state(qxppack1.Effect("reverb").state[:30]), "not the saved state"),
    (lambda: qxppack1.Effect("chorus")._load_state(qxppack1.Effect("reverb").state), "not one of chorus"),
    (lambda: qxppack1.Effect("reverb").process(np.zeros((10, 2), np.uint8), RATE), "float32, float64, int16"),
    (lambda: qxppack1.Effect("reverb").process(np.zeros(10, np.float32), RATE), "shape"),
    (lambda: qxppack1.Effect("reverb").process(np.zeros((10, 33), np.float32), RATE), "1 to 32 channels"),
    (lambda: qxppack1.Effect("reverb").process(np.full((10, 1), np.nan, np.float32), RATE), "NaN"),
    (lambda: qxppack1.Effect("reverb").process(np.zeros((10, 1), np.float32), 0), "sample_rate"),
    (lambda: qxppack1.Effect("reverb").process([[0.0]], RATE), "NumPy array"),
    (lambda: qxppack1.Effect("time-stretch")(np.zeros((10, 1), np.float32), RATE), "no streaming form"),
]


def test_a_damaged_state_is_refused_and_changes_nothing():
    # A pitch ratio of 1e-300 is nothing a control can set, and would make the output endless.
    e = qxppack1.Effect("pitch-shift", Ratio=0.5)
    good = e.state
    with pytest.raises(ValueError, match="Ratio is 1e-300, outside 0.01 x to 100 x"):
        e._load_state(good.replace(struct.pack("<d", 0.5), struct.pack("<d", 1e-300)))
    assert e.state == good


@pytest.mark.parametrize("call,words", ERRORS)
def test_bad_input_is_one_clear_value_error(call, words):
    with pytest.raises(ValueError, match=words) as info:
        call()
    assert str(info.value).count(". ") == 0 and str(info.value).endswith(".")
