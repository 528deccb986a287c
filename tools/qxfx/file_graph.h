// qxfx's file work: running a file through a chain of filters into an output that appears whole
// or not at all, describing files, and the built-in demo input.
#pragma once
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "platform/mediagraph/interfaces.h"
#include "tools/qxfx/output_format.h"

// A file's text fields: libsndfile's SF_STR_ code and the text.
using QxfxTags = std::vector<std::pair<int, std::string>>;

struct QxfxRunOptions {
  uint32_t blockFrames = 4096;
  QxfxOutputForm form;              // --output-format
  bool progress = false;            // a bar on stderr (only when it is a terminal and the run is long)
  bool verbose = false;             // print the graph and the formats agreed on each link
  std::vector<std::string> names;   // the filters' names, for the verbose graph
  std::string inName;               // the input as the user named it, when not its path
  double gainDb = 0.0;              // --gain: level change before the chain
  bool norm = false;                // --norm: scale the result so that its peak is normDb
  double normDb = 0.0;
  bool dither = true;               // TPDF dither when the output has fewer bits than the input
  bool quiet = false;               // --quiet: no notes on stderr
  bool keepNonFinite = false;       // --keep-nonfinite: NaN and infinity reach the effects as they are
};

struct QxfxRunResult {
  int64_t framesIn = 0;
  int64_t framesOut = 0;
  int format = 0;         // libsndfile format written
  double seconds = 0.0;   // wall time of the run
  int rate = 0;
  int64_t clipped = 0;    // samples beyond full scale in a whole-number output
  double peak = -1.0;     // the signal's peak before it was written, full scale 1.0; -1 when not seen
  bool dithered = false;
};

struct QxfxFileInfo {
  std::string form;  // e.g. "WAV 16-bit PCM"
  int channels = 0;
  int rate = 0;
  int64_t frames = 0;
  double peak = 0.0;  // largest absolute finite sample, full scale 1.0
  int64_t nonFinite = 0;  // samples that are NaN or infinite
  QxfxTags tags;          // title, artist, comment ...
};
// The name of a text field's code: "title", "artist", "comment" ...
const char* QxfxTagName(int kind);

// Standard input as a path libsndfile can open: /dev/stdin when it is a regular file (it can seek),
// else a temporary file it is spooled into, whose name goes to *spool for the caller to remove.
// WAV, RF64 and AU (and any form with --raw-input) on a pipe are not spooled: the path is a pipe
// that a thread fills as standard input arrives, and *spool a file with the stream's start.
bool QxfxStdinPath(std::string* path, std::string* spool, std::string* error);
// A path to learn an input's form from without reading it: for streamed standard input the file
// holding its start, else the input itself.
std::string QxfxProbePath(const std::string& in);
// Inputs without a header (--raw-input): a libsndfile encoding (SF_FORMAT_PCM_16 ...), rate and
// channel count; format 0 for inputs that carry their own header.
void QxfxSetRawInput(int format, int rate, int channels);
// Runs IN through the filters into a temporary file, renamed over OUT (or copied to standard output
// when OUT is "-") at the end. Refuses to write over IN. On failure or an
// interrupting signal nothing is left at the temporary path and OUT is untouched. When the first
// filter refuses the input's sample form, the input is converted to 32-bit float first.
bool QxfxRunFile(const std::string& in, const std::string& out, const std::vector<IBaseFilter*>& filters,
                 const QxfxRunOptions& options, QxfxRunResult* result, std::string* error);
bool QxfxReadInfo(const std::string& path, QxfxFileInfo* info, std::string* error);
bool QxfxWriteDemoInput(const std::string& path, std::string* error);
// ": <what the status means>" for messages.
std::string QxfxDescribe(HRESULT hr);
