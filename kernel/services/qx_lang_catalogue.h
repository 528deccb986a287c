// The kernel's catalogue of its own texts: one QXLANGENTRY per message, 18 language columns each.
// This build carries English only, the same text in every column, except the language names.
#pragma once
#include "kernel/services/qx_lang.h"

enum QxLangCatalogueIndex : int {
  QXLS_PCM,                 // "PCM"
  QXLS_IEEE_FLOAT,          // "IEEE Float"
  QXLS_MONO,                // "Mono"
  QXLS_STEREO,              // "Stereo"
  QXLS_CHANNELS,            // "%d Channels"
  QXLS_FORMAT_DESCRIPTION,  // "$d Hz$, %d Bit$, %s": rate, bits, channel text
  QXLS_COMPRESSED,          // "Compressed"
  QXLS_NEG_INF,             // "-Inf."
  QXLS_ERROR,               // "Err."
  QXLS_DB_UNIT,             // " dB"
  QXLS_LANGUAGE_NAME,       // each column names its own language in that language
  QXLS_COUNT
};

extern QXLANGENTRY g_QxLangCatalogue[QXLS_COUNT];

// The text key of a catalogue entry, for any string argument.
inline const WCHAR* QxLangCatalogueKey(QxLangCatalogueIndex i) { return QxLangKey(g_QxLangCatalogue[i]); }
