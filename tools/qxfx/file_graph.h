// qxfx's file work: running a file through a chain of filters into an output that appears whole
// or not at all, describing files, and the built-in demo input.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include "platform/mediagraph/interfaces.h"

struct QxfxRunOptions {
  uint32_t blockFrames = 4096;
};

struct QxfxRunResult {
  int64_t framesIn = 0;
  int64_t framesOut = 0;
};

struct QxfxFileInfo {
  std::string form;  // e.g. "WAV 16-bit PCM"
  int channels = 0;
  int rate = 0;
  int64_t frames = 0;
  double peak = 0.0;  // largest absolute sample, full scale 1.0
};

// Runs IN through the filters into a temporary file beside OUT, renamed over OUT at the end.
// Refuses to write over IN. On failure nothing is left at OUT's temporary path and OUT is untouched.
bool QxfxRunFile(const std::string& in, const std::string& out, const std::vector<IBaseFilter*>& filters,
                 const QxfxRunOptions& options, QxfxRunResult* result, std::string* error);
bool QxfxReadInfo(const std::string& path, QxfxFileInfo* info, std::string* error);
bool QxfxWriteDemoInput(const std::string& path, std::string* error);
// ": <what the status means>" for messages.
std::string QxfxDescribe(HRESULT hr);
