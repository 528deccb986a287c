// The sample forms the WAV source and sink carry through the graph, and their mapping to
// libsndfile encodings and to audio media types. Host-side only; the effects never see it.
#pragma once
#include "platform/mediagraph/media_type.h"

enum class WavForm { Pcm8, Pcm16, Pcm24In32, Pcm32, Float32, Float64 };

// The form a file's encoding is read in (libsndfile format code, major type ignored).
WavForm WavFormOfFile(int sfFormat);
// The libsndfile encoding that writes `form` back unchanged.
int SfSubtypeOfForm(WavForm form);
// Audio type of `form`: the plain record for 1-2 channels, WAVE_FORMAT_EXTENSIBLE above.
HRESULT MakeWavFormType(WavForm form, WORD channels, DWORD rate, CMediaType* mt);
// The form of an audio type (plain or extensible PCM 8/16/32, float 32/64); E_INVALIDARG otherwise.
// A 32-bit extensible type with 24 valid bits gives Pcm24In32.
HRESULT WavFormOfType(const CMediaType& mt, WavForm* form, WORD* channels, DWORD* rate);
