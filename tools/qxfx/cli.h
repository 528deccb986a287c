// qxfx's command line: global options that may stand anywhere, a command and its words, and for
// `process` the files and a chain of effects, each with the options that follow its name.
#pragma once
#include <string>
#include <vector>

struct QxfxSetting {
  std::string field;
  std::string value;
  bool natural = false;  // --param (natural units) rather than --set (the stored value)
};

// time-stretch's friendly length options (see time_options.h).
struct QxfxTimeOptions {
  bool hasPercent = false;
  double percent = 0.0;    // output length as a percentage of the input
  bool hasTempoFrom = false;
  double tempoFrom = 0.0;  // source tempo, bpm
  bool hasTempoTo = false;
  double tempoTo = 0.0;    // wanted tempo, bpm
  bool Any() const { return hasPercent || hasTempoFrom || hasTempoTo; }
};

// pitch-shift's friendly options (see pitch_options.h).
struct QxfxPitchOptions {
  bool hasSemitones = false;
  double semitones = 0.0;  // whole semitones
  bool hasCents = false;
  double cents = 0.0;      // cents, one decimal
  bool preserveDuration = false;
  bool Any() const { return hasSemitones || hasCents || preserveDuration; }
};

// One effect of a chain and the options written after its name.
struct QxfxEffectArgs {
  std::string effect;                    // the effect's name as typed
  std::string preset;                    // --preset N|NAME, empty when absent
  std::vector<QxfxSetting> settings;     // --set FIELD=VALUE and --param NAME=VALUE, in order
  std::vector<std::string> automations;  // --automate "PARAM=CURVE:T:V,T:V..."
  std::string loadState;                 // --load-state FILE
  std::string saveState;                 // --save-state FILE
  long lang = -1;                        // --lang LCID, -1 when absent
  double tempo = 0.0;                    // --tempo BPM, 0 when absent
  int meterNumerator = 0;                // --meter N/D, 0 when absent
  int meterDenominator = 0;
  std::string tempoMap;                  // --tempo-map FILE
  QxfxTimeOptions time;                  // --percent, --tempo-from, --tempo-to
  QxfxPitchOptions pitch;                // --semitones, --cents, --preserve-duration
  bool quiet = false;                    // the global --quiet, copied for the option helpers
};

// The whole line. Its own QxfxEffectArgs part is what one-effect helpers read when handed the whole
// line; `process` keeps each effect's options in `chain`.
struct QxfxCommandLine : QxfxEffectArgs {
  std::string command;                 // "process", "list", "help", ...
  std::vector<std::string> words;      // other commands: positional words after the command
  std::vector<std::string> inputs;     // process: IN (one, or several with --out-dir); "-" is stdin
  std::string output;                  // process: OUT without --out-dir; "-" is stdout
  std::string outDir;                  // --out-dir DIR
  std::vector<QxfxEffectArgs> chain;   // process: the effects in order
  std::string outputFormat;            // --output-format CONTAINER:ENCODING
  std::string png;                     // page: --png FILE
  long blockFrames = 4096;
  long jobs = 1;                       // -j N
  bool verbose = false;
  bool json = false;
  bool help = false;
  bool version = false;                // --version
  bool man = false;                    // --help-man: the help text as a manual page
  bool progress = true;                // --no-progress turns the bar off
  double gainDb = 0.0;                 // --gain dB, before the chain
  bool norm = false;                   // --norm[=dBFS], after the chain (default 0 dBFS)
  double normDb = 0.0;
  bool dither = true;                  // --no-dither turns TPDF dither off
  std::string rawInput;                // --raw-input RATE,CHANNELS,ENCODING
  std::vector<std::string> given;      // every option on the line, by its long name
  bool keepNonFinite = false;          // --keep-nonfinite: NaN and infinity go to the effects untouched
};

// Parses argv; on a mistake returns false with a one-line message in *error.
bool QxfxParse(int argc, char** argv, QxfxCommandLine* out, std::string* error);
// True for a name qxfx knows as an effect (used to find the effect among a batch's inputs).
bool QxfxIsEffectName(const std::string& word);
// A language identifier, decimal or hex with 0x, from 0 to 0xFFFF.
bool QxfxParseLcid(const std::string& text, long* lcid);
