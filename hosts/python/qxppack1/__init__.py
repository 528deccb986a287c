"""The qxppack1 effects on NumPy arrays.

    import numpy as np, qxppack1
    e = qxppack1.Effect("reverb", preset="Cathedral", DecayTime=3.5)
    wet = e.process(audio, 48000)           # (frames, channels) float32/float64/int16/int32

Parameters are in natural units (dB, ms, s, Hz, %, ...) as keyword arguments and attributes;
``e.params`` lists them with their units and ranges. Bad input raises ValueError.
"""
import numpy as _np

from ._qxppack1 import _Effect, _effect_of_state, effects

__all__ = ["Effect", "Chain", "chain", "effects"]


class Effect(_Effect):
    """One effect: Effect(name, preset=None, **params), parameters in natural units."""

    def __init__(self, name, preset=None, **params):
        super().__init__(name)
        object.__setattr__(self, "_rate", None)
        object.__setattr__(self, "_form", None)
        if preset is not None:
            self.load_preset(preset)
        for key, value in params.items():
            self._set(key, value)

    @classmethod
    def from_state(cls, state):
        """The effect a saved state (Effect.state, qxfx --save-state) belongs to, set from it."""
        if not isinstance(state, (bytes, bytearray)):
            raise ValueError("a state is bytes, as Effect.state gives them.")
        name = _effect_of_state(bytes(state))
        if name is None:
            raise ValueError("these bytes are not the saved state of any qxppack1 effect.")
        effect = cls(name)
        effect._load_state(bytes(state))
        return effect

    def set(self, **params):
        """Sets several parameters at once; returns the effect."""
        for key, value in params.items():
            self._set(key, value)
        return self

    def __getattr__(self, name):
        if not name.startswith("_") and self._has_param(name):
            return self._get(name)
        raise AttributeError(f"{type(self).__name__} {self.name!r} has no attribute or parameter {name!r}")

    def __setattr__(self, name, value):
        if name.startswith("_"):
            object.__setattr__(self, name, value)
        else:
            self._set(name, value)  # ValueError for an unknown name or a bad value

    def __dir__(self):
        return sorted(set(super().__dir__()) | set(self.params))

    def __reduce__(self):
        return (Effect.from_state, (self.state,))

    def __repr__(self):
        values = ", ".join(f"{k}={getattr(self, k)!r}" for k, v in self.params.items() if v["sound"])
        return f"Effect({self.name!r}, {values})"

    # The streaming form of the in-place effects: blocks of one run, then flush() for the tail.
    def __call__(self, block, sample_rate=None):
        """Processes the next block of a stream; the blocks and flush() give what process() gives."""
        if sample_rate is None:
            sample_rate = self._rate
        if sample_rate is None:
            raise ValueError("give the sample rate once, with reset(sample_rate) or effect(block, sample_rate).")
        out = self._stream(block, sample_rate)
        object.__setattr__(self, "_rate", sample_rate)
        object.__setattr__(self, "_form", (out.dtype, out.shape[1]))
        return out

    def flush(self):
        """Ends the stream and returns its tail (empty for Chorus)."""
        data = self._flush()
        if self._form is None:
            return _np.zeros((0, 1), _np.float32)
        dtype, channels = self._form
        object.__setattr__(self, "_form", None)
        return _np.frombuffer(data, dtype=dtype).reshape(-1, channels).copy()

    def reset(self, sample_rate=None):
        """Drops a stream in progress; the next block starts afresh (at sample_rate when given)."""
        super().reset()
        object.__setattr__(self, "_form", None)
        if sample_rate is not None:
            object.__setattr__(self, "_rate", sample_rate)


class Chain:
    """Effects one after another, as a qxfx chain (`a + b`) runs them."""

    def __init__(self, effects):
        items = []
        for e in effects:
            if isinstance(e, str):
                e = Effect(e)
            if not isinstance(e, _Effect):
                raise ValueError(f"a chain holds effects or effect names; got {type(e).__name__}.")
            items.append(e)
        if not items:
            raise ValueError("a chain needs at least one effect.")
        self.effects = items

    def process(self, audio, sample_rate, tail=True):
        """A new array of the same type: the audio through every effect in order."""
        for e in self.effects:
            audio = e.process(audio, sample_rate, tail)
        return audio

    def __iter__(self):
        return iter(self.effects)

    def __len__(self):
        return len(self.effects)

    def __repr__(self):
        return "chain([" + ", ".join(repr(e) for e in self.effects) + "])"


def chain(effects):
    """chain([Effect(...), "reverb", ...]): the effects run one after another."""
    return Chain(effects)
