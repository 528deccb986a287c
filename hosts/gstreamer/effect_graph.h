// One effect filter inside a private media graph a streaming host drives by hand: a push source
// feeds it, a collecting sink takes what it delivers, all on the caller's thread.
#pragma once
#include <cstdint>
#include <vector>

#include "platform/mediagraph/endpoints.h"
#include "platform/mediagraph/wav_forms.h"

class QxEffectGraph {
 public:
  QxEffectGraph() = default;
  ~QxEffectGraph() { Close(); }
  QxEffectGraph(const QxEffectGraph&) = delete;
  QxEffectGraph& operator=(const QxEffectGraph&) = delete;

  // Connects source -> effect -> sink for `form`, `channels`, `rate` and starts streaming, which
  // starts the effect. A second Open closes the first. Fails when the effect refuses the type.
  HRESULT Open(IBaseFilter* effect, WavForm form, int channels, int rate);
  // Stops streaming and disconnects; the effect keeps its parameters.
  void Close();
  bool IsOpen() const { return source_ != nullptr; }

  // Pushes whole frames (a partial frame at the end is dropped) in pieces of at most the source's
  // buffer. `discontinuity` marks the first piece. What the effect delivers is added to Output().
  HRESULT Push(const uint8_t* data, size_t bytes, bool discontinuity);
  // Ends the stream: what the effect still holds (a tail, the rest of a stretch) goes to Output().
  HRESULT EndOfStream();
  // A stop and a start of the graph: the effect begins afresh, as after a seek.
  HRESULT Restart();

  // What the effect delivered since the last TakeOutput.
  std::vector<uint8_t>& Output();
  void TakeOutput(std::vector<uint8_t>* into);
  int BlockAlign() const { return blockAlign_; }

 private:
  HRESULT Start();
  void Stop();

  CPushSource* source_ = nullptr;
  CCollectSink* sink_ = nullptr;
  IBaseFilter* effect_ = nullptr;
  std::vector<std::pair<IPin*, IPin*>> links_;
  int blockAlign_ = 0;
  size_t pieceBytes_ = 0;
};
