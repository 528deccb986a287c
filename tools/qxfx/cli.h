// qxfx's command line: global options that may stand anywhere, then a command and its words.
#pragma once
#include <string>
#include <vector>

struct QxfxSetting {
  std::string field;
  std::string value;
};

struct QxfxCommandLine {
  std::string command;                // "process", "list", "help", ...
  std::vector<std::string> words;     // positional words after the command
  std::string effect;                 // process: the effect name
  std::string preset;                 // --preset N|NAME, empty when absent
  std::vector<QxfxSetting> settings;  // --set FIELD=VALUE, in order
  std::vector<std::string> automations;  // --automate "PARAM=CURVE:T:V,T:V..."
  std::string loadState;              // --load-state FILE
  std::string saveState;              // --save-state FILE
  long lang = -1;                     // --lang LCID, -1 when absent
  double tempo = 0.0;                 // --tempo BPM, 0 when absent
  int meterNumerator = 0;             // --meter N/D, 0 when absent
  int meterDenominator = 0;
  std::string tempoMap;               // --tempo-map FILE
  long blockFrames = 4096;
  bool quiet = false;
  bool json = false;
  bool help = false;
};

// Parses argv; on a mistake returns false with a one-line message in *error.
bool QxfxParse(int argc, char** argv, QxfxCommandLine* out, std::string* error);
