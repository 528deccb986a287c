// The audio type check every effect makes on its input, shared by the in-place frame and the
// effects with their own transform filter.
#pragma once
#include "platform/mediagraph/media_type.h"

// What an effect needs to know of an accepted audio type; an extensible form is given its plain tag.
struct QxAudioForm {
  WORD tag = 0;
  WORD channels = 0;
  DWORD rate = 0;
  WORD bits = 0;
};

// Audio, not temporally compressed, at least 16 bytes of format, 1 to 32 channels, PCM 8/16/32 or
// float 32/64, plain or extensible. Fills `form` (when given) only for an accepted type.
bool QxCheckAudioType(const CMediaType* mt, QxAudioForm* form = nullptr);
// The plain record of an accepted form, with block alignment and byte rate recomputed.
WAVEFORMATEX QxPlainFormat(const QxAudioForm& f);
