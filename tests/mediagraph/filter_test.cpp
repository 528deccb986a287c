// Tests of the filter base classes in a source -> transform -> sink graph: type refusal through
// CheckInputType, state changes driving StartStreaming/StopStreaming, in-place delivery of the
// same sample, tail samples from the output pin's allocator, flushing, and the copy transform.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>

#include "platform/mediagraph/endpoints.h"
#include "tests/mediagraph/test_graph.h"

namespace {

constexpr CLSID CLSID_TestInPlace = MakeGuid("11111111-2222-3333-4444-555555555555");
constexpr CLSID CLSID_TestCopy = MakeGuid("11111111-2222-3333-4444-555555555556");

HRESULT CheckTestAudio(const CMediaType* mt) {
  if (!(mt->majortype == MEDIATYPE_Audio) || mt->IsTemporalCompressed() || mt->FormatLength() < 16)
    return E_INVALIDARG;
  auto* w = reinterpret_cast<const WAVEFORMATEX*>(mt->Format());
  if (w->wBitsPerSample == 24 || w->nChannels < 1 || w->nChannels > 32) return E_INVALIDARG;
  return S_OK;
}

// Inverts every byte, counts its calls, and renders `tailSamples` blank samples at end of stream.
class InPlace : public CTransInPlaceFilter {
 public:
  explicit InPlace(HRESULT* hr) : CTransInPlaceFilter("in place", nullptr, CLSID_TestInPlace, hr) {}
  static InPlace* Make() {
    HRESULT hr = S_OK;
    auto* f = new InPlace(&hr);
    f->NonDelegatingAddRef();
    return f;
  }
  HRESULT CheckInputType(const CMediaType* mt) override { return CheckTestAudio(mt); }
  HRESULT SetMediaType(PIN_DIRECTION dir, const CMediaType* mt) override {
    setTypes.push_back(dir);
    return CTransInPlaceFilter::SetMediaType(dir, mt);
  }
  HRESULT StartStreaming() override {
    ++starts;
    return startResult;
  }
  HRESULT StopStreaming() override {
    ++stops;
    return S_OK;
  }
  HRESULT Transform(IMediaSample* s) override {
    seen.push_back(s);
    BYTE* p = nullptr;
    s->GetPointer(&p);
    for (LONG i = 0; i < s->GetActualDataLength(); ++i) p[i] = static_cast<BYTE>(~p[i]);
    return transformResult;
  }
  HRESULT EndOfStream() override {
    for (int i = 0; i < tailSamples; ++i) {
      IMediaSample* s = nullptr;
      HRESULT hr = m_pOutput->GetDeliveryBuffer(&s, nullptr, nullptr, 0);
      if (FAILED(hr)) return hr;
      tail.push_back(s);
      tailSize = s->GetSize();
      BYTE* p = nullptr;
      s->GetPointer(&p);
      std::memset(p, 0x5A, static_cast<size_t>(s->GetSize()));
      hr = m_pOutput->Deliver(s);
      s->Release();
      if (FAILED(hr)) return hr;
    }
    return CTransInPlaceFilter::EndOfStream();
  }
  IMemAllocator* OutputAllocator() { return m_pOutput->PeekAllocator(); }
  IMemAllocator* InputAllocator() { return m_pInput->PeekAllocator(); }

  std::vector<PIN_DIRECTION> setTypes;
  std::vector<IMediaSample*> seen, tail;
  int starts = 0, stops = 0, tailSamples = 0;
  LONG tailSize = 0;
  HRESULT startResult = S_OK, transformResult = S_OK;
};

struct Chain : ::testing::Test {
  CPushSource* src = nullptr;
  InPlace* filt = nullptr;
  CCollectSink* sink = nullptr;
  std::unique_ptr<TestGraph> graphHolder = std::make_unique<TestGraph>();
  TestGraph& graph = *graphHolder;
  long objectsBefore = ComModule::objects.load();
  CMediaType type = MakeAudioMediaType(TestWfx(WAVE_FORMAT_PCM, 2, 16));

  void Make(const CMediaType& t, LONG bufferBytes = 64, LONG buffers = 2) {
    ASSERT_EQ(CPushSource::Create(t, bufferBytes, buffers, &src), S_OK);
    filt = InPlace::Make();
    ASSERT_EQ(CCollectSink::Create(&sink), S_OK);
    graph.Track(sink);
    graph.Track(filt);
    graph.Track(src);
  }
  HRESULT ConnectAll() {
    HRESULT hr = graph.Connect(src, src->GetPin(0), filt->GetPin(0));
    if (FAILED(hr)) return hr;
    return graph.Connect(filt, filt->GetPin(1), sink->GetPin(0));
  }
  HRESULT PauseAll() {
    HRESULT hr = sink->Pause();
    if (SUCCEEDED(hr)) hr = filt->Pause();
    if (SUCCEEDED(hr)) hr = src->Pause();
    return hr;
  }
  // Built, connected and paused: ready to take samples.
  void Stream(LONG bufferBytes = 64, LONG buffers = 2) {
    Make(type, bufferBytes, buffers);
    ASSERT_EQ(ConnectAll(), S_OK);
    ASSERT_EQ(PauseAll(), S_OK);
  }
  void StopAll() {
    sink->Stop();
    filt->Stop();
    src->Stop();
  }
  void TearDown() override {
    if (src) StopAll();
    graphHolder.reset();
    if (src) src->Release();
    if (filt) filt->Release();
    if (sink) sink->Release();
    // Every filter, pin and allocator is gone once the graph is taken apart.
    EXPECT_EQ(ComModule::objects.load(), objectsBefore);
  }
};

}  // namespace

TEST_F(Chain, ConnectsAndBothPinsCarryTheInputType) {
  Make(type);
  ASSERT_EQ(ConnectAll(), S_OK);
  EXPECT_EQ(filt->setTypes, (std::vector<PIN_DIRECTION>{PINDIR_INPUT, PINDIR_OUTPUT}));
  AM_MEDIA_TYPE got{};
  ASSERT_EQ(filt->GetPin(1)->ConnectionMediaType(&got), S_OK);
  EXPECT_TRUE(CMediaType(got) == type);
  FreeMediaType(got);
  IPin* peer = nullptr;
  ASSERT_EQ(sink->GetPin(0)->ConnectedTo(&peer), S_OK);
  EXPECT_EQ(peer, static_cast<IPin*>(filt->GetPin(1)));
  peer->Release();
  EXPECT_EQ(src->GetPin(0)->Connect(filt->GetPin(0), nullptr), VFW_E_ALREADY_CONNECTED);

  IPin* found = nullptr;
  ASSERT_EQ(filt->FindPin(u"Output", &found), S_OK);
  EXPECT_EQ(found, static_cast<IPin*>(filt->GetPin(1)));
  found->Release();
  EXPECT_EQ(filt->FindPin(u"Nope", &found), VFW_E_NOT_FOUND);
}

TEST_F(Chain, CheckInputTypeRefusalFailsTheConnection) {
  Make(MakeAudioMediaType(TestWfx(WAVE_FORMAT_PCM, 2, 24)));
  EXPECT_EQ(graph.Connect(src, src->GetPin(0), filt->GetPin(0)), E_INVALIDARG);
  EXPECT_FALSE(src->GetPin(0)->IsConnected());
  EXPECT_FALSE(filt->GetPin(0)->IsConnected());
  EXPECT_TRUE(filt->setTypes.empty());
  CMediaType many = MakeAudioMediaType(TestWfx(WAVE_FORMAT_PCM, 33, 16));
  EXPECT_EQ(filt->GetPin(0)->QueryAccept(&many), S_FALSE);
  EXPECT_EQ(filt->GetPin(0)->QueryAccept(&type), S_OK);
}

TEST_F(Chain, OutputWithoutInputTakesOnlyTheInputsTypeLater) {
  Make(type);
  // The output pin of an in-place filter proposes nothing until its input is connected.
  EXPECT_EQ(graph.Connect(filt, filt->GetPin(1), sink->GetPin(0)), VFW_E_NO_ACCEPTABLE_TYPES);
  ASSERT_EQ(ConnectAll(), S_OK);
  CMediaType other = MakeAudioMediaType(TestWfx(WAVE_FORMAT_PCM, 1, 16));
  EXPECT_EQ(filt->GetPin(1)->QueryAccept(&other), S_FALSE);
}

TEST_F(Chain, PauseRunStopDriveStartAndStopStreaming) {
  ASSERT_NO_FATAL_FAILURE(Stream());
  EXPECT_EQ(filt->starts, 1);
  ASSERT_EQ(filt->Run(0), S_OK);
  ASSERT_EQ(filt->Pause(), S_OK);  // running -> paused is not a new start
  EXPECT_EQ(filt->starts, 1);
  FILTER_STATE st;
  filt->GetState(0, &st);
  EXPECT_EQ(st, State_Paused);
  StopAll();
  EXPECT_EQ(filt->stops, 1);
  EXPECT_EQ(filt->Stop(), S_OK);
  EXPECT_EQ(filt->stops, 1);
  ASSERT_EQ(filt->Run(0), S_OK);  // stopped -> running passes through paused
  EXPECT_EQ(filt->starts, 2);
}

TEST_F(Chain, FailingStartStreamingFailsPauseAndLeavesTheFilterStopped) {
  Make(type);
  ASSERT_EQ(ConnectAll(), S_OK);
  filt->startResult = E_OUTOFMEMORY;
  EXPECT_EQ(filt->Pause(), E_OUTOFMEMORY);
  FILTER_STATE st;
  filt->GetState(0, &st);
  EXPECT_EQ(st, State_Stopped);
  filt->Stop();
  EXPECT_EQ(filt->stops, 0);
}

TEST_F(Chain, CheckStreamingReportsStateConnectionAndFlushing) {
  Make(type);
  auto* in = static_cast<CBaseInputPin*>(filt->GetPin(0));
  EXPECT_EQ(in->CheckStreaming(), VFW_E_NOT_CONNECTED);
  ASSERT_EQ(ConnectAll(), S_OK);
  EXPECT_EQ(in->CheckStreaming(), VFW_E_WRONG_STATE);
  BYTE data[8] = {};
  ASSERT_EQ(PauseAll(), S_OK);
  EXPECT_EQ(in->CheckStreaming(), S_OK);
  ASSERT_EQ(in->BeginFlush(), S_OK);
  EXPECT_TRUE(in->IsFlushing());
  EXPECT_TRUE(sink->InputPin()->IsFlushing());  // passed downstream
  EXPECT_EQ(in->CheckStreaming(), S_FALSE);
  EXPECT_EQ(src->PushBytes(data, 8), S_FALSE);
  EXPECT_TRUE(filt->seen.empty());
  ASSERT_EQ(in->EndFlush(), S_OK);
  EXPECT_FALSE(sink->InputPin()->IsFlushing());
  EXPECT_EQ(src->PushBytes(data, 8), S_OK);
  EXPECT_EQ(filt->seen.size(), 1u);
}

TEST_F(Chain, InPlaceDeliversTheSameSampleWithTimesAndFlags) {
  ASSERT_NO_FATAL_FAILURE(Stream());
  BYTE data[12];
  for (int i = 0; i < 12; ++i) data[i] = static_cast<BYTE>(i);
  REFERENCE_TIME t0 = 0, t1 = 625;
  ASSERT_EQ(src->PushBytes(data, 12, &t0, &t1, true), S_OK);
  REFERENCE_TIME t2 = 625;
  ASSERT_EQ(src->PushBytes(data, 4, &t2, nullptr, false), S_OK);
  ASSERT_EQ(src->PushBytes(nullptr, 0), S_OK);

  ASSERT_EQ(sink->records.size(), 3u);
  ASSERT_EQ(filt->seen.size(), 3u);
  for (size_t i = 0; i < 3; ++i) EXPECT_EQ(sink->records[i].identity, filt->seen[i]);
  EXPECT_EQ(sink->records[0].timeResult, S_OK);
  EXPECT_EQ(sink->records[0].stop, 625);
  EXPECT_TRUE(sink->records[0].discontinuity);
  EXPECT_EQ(sink->records[1].timeResult, VFW_S_NO_STOP_TIME);
  EXPECT_FALSE(sink->records[1].discontinuity);
  EXPECT_EQ(sink->records[2].timeResult, VFW_E_SAMPLE_TIME_NOT_SET);
  EXPECT_EQ(sink->records[2].length, 0);
  ASSERT_EQ(sink->bytes.size(), 16u);
  EXPECT_EQ(sink->bytes[0], 0xFF);
  EXPECT_EQ(sink->bytes[11], static_cast<BYTE>(~11));
}

TEST_F(Chain, TransformResultSFalseDropsTheSampleAndFailuresReachTheSource) {
  ASSERT_NO_FATAL_FAILURE(Stream());
  BYTE data[4] = {};
  filt->transformResult = S_FALSE;
  EXPECT_EQ(src->PushBytes(data, 4), S_OK);
  EXPECT_TRUE(sink->records.empty());
  filt->transformResult = E_POINTER;
  EXPECT_EQ(src->PushBytes(data, 4), E_POINTER);
  filt->transformResult = S_OK;
  sink->receiveResult = E_FAIL;
  EXPECT_EQ(src->PushBytes(data, 4), E_FAIL);
}

TEST_F(Chain, TailSamplesComeFromTheOutputPinsOwnAllocator) {
  ASSERT_NO_FATAL_FAILURE(Stream(40, 3));
  ASSERT_NE(filt->OutputAllocator(), nullptr);
  EXPECT_NE(filt->OutputAllocator(), filt->InputAllocator());
  ALLOCATOR_PROPERTIES in{}, out{};
  filt->InputAllocator()->GetProperties(&in);
  filt->OutputAllocator()->GetProperties(&out);
  EXPECT_EQ(out.cbBuffer, in.cbBuffer);
  EXPECT_EQ(out.cBuffers, in.cBuffers);
  BYTE data[8] = {};
  ASSERT_EQ(src->PushBytes(data, 8), S_OK);
  filt->tailSamples = 2;
  ASSERT_EQ(src->DeliverEndOfStream(), S_OK);
  ASSERT_EQ(sink->records.size(), 3u);
  EXPECT_EQ(sink->records[1].identity, filt->tail[0]);
  EXPECT_NE(sink->records[1].identity, sink->records[0].identity);
  EXPECT_EQ(filt->tailSize, 40);
  EXPECT_EQ(sink->records[2].length, 40);
  EXPECT_EQ(sink->endOfStreamCount, 1);
  // Every tail sample went back to the free list.
  EXPECT_EQ(static_cast<CBaseAllocator*>(filt->OutputAllocator())->OutstandingCount(), 0);

  // Stopped, the output allocator is decommitted and draws fail.
  StopAll();
  IMediaSample* s = nullptr;
  EXPECT_EQ(static_cast<CBaseOutputPin*>(filt->GetPin(1))->GetDeliveryBuffer(&s, nullptr, nullptr, 0),
            VFW_E_NOT_COMMITTED);
}

TEST_F(Chain, AnInputConnectedAfterTheOutputResizesTheOutputBuffers) {
  Make(type, 96, 2);
  // Connect in reverse: the output pin cannot propose a type before its input has one, so give it
  // the type explicitly.
  ASSERT_EQ(graph.Connect(filt, filt->GetPin(1), sink->GetPin(0), &type), S_OK);
  ASSERT_EQ(graph.Connect(src, src->GetPin(0), filt->GetPin(0)), S_OK);
  ALLOCATOR_PROPERTIES out{};
  filt->OutputAllocator()->GetProperties(&out);
  EXPECT_EQ(out.cbBuffer, 96);
}

namespace {

// Copy transform that duplicates each sample's bytes into the output sample, reversed.
class Copy : public CTransformFilter {
 public:
  Copy() : CTransformFilter("copy", nullptr, CLSID_TestCopy) {}
  HRESULT CheckInputType(const CMediaType* mt) override { return CheckTestAudio(mt); }
  HRESULT CheckTransform(const CMediaType* in, const CMediaType* out) override {
    return *in == *out ? S_OK : E_INVALIDARG;
  }
  HRESULT GetMediaType(int pos, CMediaType* mt) override {
    if (pos < 0) return E_INVALIDARG;
    if (pos > 0) return VFW_S_NO_MORE_ITEMS;
    *mt = m_pInput->CurrentMediaType();
    return S_OK;
  }
  HRESULT DecideBufferSize(IMemAllocator* alloc, ALLOCATOR_PROPERTIES* props) override {
    ALLOCATOR_PROPERTIES in{}, got{};
    m_pInput->PeekAllocator()->GetProperties(&in);
    in.cbBuffer *= 4;
    return alloc->SetProperties(&in, &got);
  }
  HRESULT Transform(IMediaSample* in, IMediaSample* out) override {
    BYTE *a = nullptr, *b = nullptr;
    in->GetPointer(&a);
    out->GetPointer(&b);
    LONG n = in->GetActualDataLength();
    for (LONG i = 0; i < n; ++i) b[i] = a[n - 1 - i];
    out->SetActualDataLength(n);
    return S_OK;
  }
};

}  // namespace

TEST(CopyTransform, ReceiveDrawsAnOutputSampleCarryingTheInputsTimesAndFlags) {
  CMediaType type = MakeAudioMediaType(TestWfx(WAVE_FORMAT_IEEE_FLOAT, 1, 32));
  CPushSource* src = nullptr;
  CCollectSink* sink = nullptr;
  ASSERT_EQ(CPushSource::Create(type, 16, 1, &src), S_OK);
  ASSERT_EQ(CCollectSink::Create(&sink), S_OK);
  auto* copy = new Copy;
  copy->NonDelegatingAddRef();
  {
    TestGraph g;
    g.Track(sink);
    g.Track(copy);
    g.Track(src);
    ASSERT_EQ(g.Connect(src, src->GetPin(0), copy->GetPin(0)), S_OK);
    ASSERT_EQ(g.Connect(copy, copy->GetPin(1), sink->GetPin(0)), S_OK);
    ASSERT_EQ(sink->Pause(), S_OK);
    ASSERT_EQ(copy->Pause(), S_OK);
    ASSERT_EQ(src->Pause(), S_OK);
    BYTE data[4] = {1, 2, 3, 4};
    REFERENCE_TIME a = 10, b = 20;
    ASSERT_EQ(src->PushBytes(data, 4, &a, &b, true), S_OK);
    ASSERT_EQ(src->DeliverEndOfStream(), S_OK);
    ASSERT_EQ(sink->records.size(), 1u);
    EXPECT_EQ(sink->records[0].size, 64);
    EXPECT_EQ(sink->records[0].start, 10);
    EXPECT_EQ(sink->records[0].stop, 20);
    EXPECT_TRUE(sink->records[0].discontinuity);
    EXPECT_TRUE(sink->records[0].syncPoint);
    EXPECT_EQ(sink->bytes, (std::vector<BYTE>{4, 3, 2, 1}));
    EXPECT_EQ(sink->endOfStreamCount, 1);
  }
  src->Release();
  copy->Release();
  sink->Release();
}
