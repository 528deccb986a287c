// qxfx's file work: running a file through a chain of filters into an output that appears whole
// or not at all, describing files, and the built-in demo input.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include "platform/mediagraph/interfaces.h"
#include "tools/qxfx/output_format.h"

struct QxfxRunOptions {
  uint32_t blockFrames = 4096;
  QxfxOutputForm form;              // --output-format
  bool progress = false;            // a bar on stderr (only when it is a terminal and the run is long)
  bool verbose = false;             // print the graph and the formats agreed on each link
  std::vector<std::string> names;   // the filters' names, for the verbose graph
  std::string inName;               // the input as the user named it, when not its path
  bool quiet = false;               // --quiet: no notes on stderr
  bool keepNonFinite = false;       // --keep-nonfinite: NaN and infinity reach the effects as they are
};

struct QxfxRunResult {
  int64_t framesIn = 0;
  int64_t framesOut = 0;
  int format = 0;         // libsndfile format written
  double seconds = 0.0;   // wall time of the run
  int rate = 0;
};

struct QxfxFileInfo {
  std::string form;  // e.g. "WAV 16-bit PCM"
  int channels = 0;
  int rate = 0;
  int64_t frames = 0;
  double peak = 0.0;  // largest absolute finite sample, full scale 1.0
  int64_t nonFinite = 0;  // samples that are NaN or infinite
};

// Standard input as a path libsndfile can open: /dev/stdin when it is a regular file (it can seek),
// else a temporary file it is spooled into, whose name goes to *spool for the caller to remove.
bool QxfxStdinPath(std::string* path, std::string* spool, std::string* error);
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
