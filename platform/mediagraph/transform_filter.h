// CTransformFilter, the one-input one-output filter base, with CTransformInputPin and
// CTransformOutputPin, which hand every connection and streaming call to the filter's virtuals.
#pragma once
#include "platform/mediagraph/base_filter.h"

class CTransformFilter;

class CTransformInputPin : public CBaseInputPin {
 public:
  CTransformInputPin(const char* objectName, CTransformFilter* filter, HRESULT* hr, LPCWSTR pinName);

  HRESULT CheckConnect(IPin* pin) override;
  HRESULT BreakConnect() override;
  HRESULT CompleteConnect(IPin* receivePin) override;
  // The filter's CheckInputType, then CheckTransform against a connected output.
  HRESULT CheckMediaType(const CMediaType* mt) override;
  HRESULT SetMediaType(const CMediaType* mt) override;
  // Under the filter's receive lock: CheckStreaming, then the filter's Receive.
  HRESULT Receive(IMediaSample* sample) override;
  HRESULT EndOfStream() override;
  HRESULT BeginFlush() override;
  HRESULT EndFlush() override;
  HRESULT NewSegment(REFERENCE_TIME start, REFERENCE_TIME stop, double rate) override;
  // Also needs the output pin connected.
  HRESULT CheckStreaming() override;

  CMediaType& CurrentMediaType() { return m_mt; }

 protected:
  CTransformFilter* m_pTransformFilter;
};

class CTransformOutputPin : public CBaseOutputPin {
 public:
  CTransformOutputPin(const char* objectName, CTransformFilter* filter, HRESULT* hr, LPCWSTR pinName);

  HRESULT CheckConnect(IPin* pin) override;
  HRESULT BreakConnect() override;
  HRESULT CompleteConnect(IPin* receivePin) override;
  // Needs a connected input; then the filter's CheckTransform.
  HRESULT CheckMediaType(const CMediaType* mt) override;
  HRESULT SetMediaType(const CMediaType* mt) override;
  HRESULT DecideBufferSize(IMemAllocator* allocator, ALLOCATOR_PROPERTIES* props) override;
  // The filter's GetMediaType once the input is connected.
  HRESULT GetMediaType(int position, CMediaType* mt) override;

  CMediaType& CurrentMediaType() { return m_mt; }

 protected:
  CTransformFilter* m_pTransformFilter;
};

class CTransformFilter : public CBaseFilter {
 public:
  CTransformFilter(const char* name, LPUNKNOWN outer, REFCLSID clsid);
  ~CTransformFilter() override;

  // Makes both pins at the first call ("Input" and "Output"); override to supply other pin classes.
  int GetPinCount() override;
  CBasePin* GetPin(int n) override;

  // Stop and Pause drive StopStreaming / StartStreaming on the stopped <-> paused edges.
  HRESULT Stop() override;
  HRESULT Pause() override;

  // Copy transform of one sample into an output sample; S_FALSE drops the output sample.
  virtual HRESULT Transform(IMediaSample* in, IMediaSample* out);
  virtual HRESULT CheckInputType(const CMediaType* mtIn) = 0;
  virtual HRESULT CheckTransform(const CMediaType* mtIn, const CMediaType* mtOut) = 0;
  virtual HRESULT DecideBufferSize(IMemAllocator* allocator, ALLOCATOR_PROPERTIES* props) = 0;
  virtual HRESULT GetMediaType(int position, CMediaType* mt) = 0;

  virtual HRESULT StartStreaming();
  virtual HRESULT StopStreaming();
  virtual HRESULT SetMediaType(PIN_DIRECTION direction, const CMediaType* mt);
  virtual HRESULT CheckConnect(PIN_DIRECTION direction, IPin* pin);
  virtual HRESULT BreakConnect(PIN_DIRECTION direction);
  virtual HRESULT CompleteConnect(PIN_DIRECTION direction, IPin* receivePin);

  // Draws an output sample, copies the input's times and flags, Transform, Deliver.
  virtual HRESULT Receive(IMediaSample* sample);
  virtual HRESULT EndOfStream();
  virtual HRESULT BeginFlush();
  virtual HRESULT EndFlush();
  virtual HRESULT NewSegment(REFERENCE_TIME start, REFERENCE_TIME stop, double rate);

 protected:
  // An output sample carrying the input's times, media times and sync/discontinuity/preroll flags.
  HRESULT InitializeOutputSample(IMediaSample* sample, IMediaSample** outSample);

  bool m_bEOSDelivered = false;
  bool m_bSampleSkipped = false;
  bool m_bQualityChanged = false;

 public:
  // Open to derived pin classes of effects, which lock and call through them.
  CCritSec m_csFilter;   // state changes and connections
  CCritSec m_csReceive;  // the streaming path
  CTransformInputPin* m_pInput = nullptr;
  CTransformOutputPin* m_pOutput = nullptr;

 protected:
  friend class CTransformInputPin;
  friend class CTransformOutputPin;
};
