// The output's container and sample form: from --output-format, OUT's extension and the input's own
// encoding, checked against what libsndfile can write.
#pragma once
#include <string>

struct QxfxOutputForm {
  int major = 0;  // libsndfile container (SF_FORMAT_WAV, ...), 0 when not asked for
  int sub = 0;    // libsndfile encoding (SF_FORMAT_PCM_16, ...), 0 when not asked for
};

// "flac", "float", "wav:pcm24", "aiff,pcm16", ...: a container, an encoding or both, in any order.
bool QxfxParseOutputFormat(const std::string& text, QxfxOutputForm* out, std::string* error);
// The container a file name's extension stands for, 0 when it names none qxfx knows.
int QxfxContainerForPath(const std::string& path);
// The usual extension of a container, e.g. "flac".
std::string QxfxExtensionFor(int major);
// The format to write: the container asked for, else OUT's extension, else WAV; the encoding asked
// for, else the input's, else the nearest one the container holds. Refuses an explicit pair that
// libsndfile cannot write.
bool QxfxChooseFormat(const QxfxOutputForm& asked, const std::string& outPath, int inFormat, int channels,
                      int rate, int* format, std::string* error);
// "WAV, Signed 16 bit PCM" for a libsndfile format code.
std::string QxfxFormatName(int format);
