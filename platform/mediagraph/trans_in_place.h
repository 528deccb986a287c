// CTransInPlaceFilter: a transform that rewrites each sample where it lies and sends the same
// sample on, with its pins. The output pin still negotiates an allocator of its own, so the
// filter can draw extra samples (e.g. to render a tail) with GetDeliveryBuffer.
#pragma once
#include "platform/mediagraph/transform_filter.h"

class CTransInPlaceFilter;

class CTransInPlaceInputPin : public CTransformInputPin {
 public:
  CTransInPlaceInputPin(const char* objectName, CTransInPlaceFilter* filter, HRESULT* hr, LPCWSTR pinName);

  // CheckInputType, and with the output connected the downstream pin must accept the type too
  // and it must be the type the output already carries.
  HRESULT CheckMediaType(const CMediaType* mt) override;
  // Passes on what the downstream pin asks of buffers.
  HRESULT GetAllocatorRequirements(ALLOCATOR_PROPERTIES* props) override;
  // Once upstream has chosen the input's buffers, a connected output is sized again to match.
  HRESULT NotifyAllocator(IMemAllocator* allocator, BOOL readOnly) override;

 protected:
  CTransInPlaceFilter* m_pTIPFilter;
};

class CTransInPlaceOutputPin : public CTransformOutputPin {
 public:
  CTransInPlaceOutputPin(const char* objectName, CTransInPlaceFilter* filter, HRESULT* hr, LPCWSTR pinName);

  // The output carries the input's type unchanged; with no input yet, what CheckInputType takes.
  HRESULT CheckMediaType(const CMediaType* mt) override;
  // Position 0 is the input's type; the filter's GetMediaType is not asked.
  HRESULT GetMediaType(int position, CMediaType* mt) override;
  // Sizes this pin's allocator again after the input's buffers changed; only while stopped.
  HRESULT RenegotiateAllocator();

 protected:
  CTransInPlaceFilter* m_pTIPFilter;
};

class CTransInPlaceFilter : public CTransformFilter {
 public:
  CTransInPlaceFilter(const char* name, LPUNKNOWN outer, REFCLSID clsid, HRESULT* hr,
                      bool modifiesData = true);

  // Makes a CTransInPlaceInputPin "Input" and a CTransInPlaceOutputPin "Output" at the first call.
  CBasePin* GetPin(int n) override;

  // Not used for connection: the output side takes the input's type.
  HRESULT GetMediaType(int position, CMediaType* mt) override { return E_UNEXPECTED; }
  HRESULT CheckTransform(const CMediaType* mtIn, const CMediaType* mtOut) override { return S_OK; }
  // As many buffers, as large, as the input's allocator has (at least what downstream asks),
  // so a sample drawn from the output pin holds as much as a delivered block.
  HRESULT DecideBufferSize(IMemAllocator* allocator, ALLOCATOR_PROPERTIES* props) override;

  // Transform in place, then deliver the same sample; S_FALSE drops it.
  HRESULT Receive(IMediaSample* sample) override;
  virtual HRESULT Transform(IMediaSample* sample) = 0;

  CTransInPlaceInputPin* InputPin() const { return static_cast<CTransInPlaceInputPin*>(m_pInput); }
  CTransInPlaceOutputPin* OutputPin() const { return static_cast<CTransInPlaceOutputPin*>(m_pOutput); }

 protected:
  // The copy transform is not offered in place.
  using CTransformFilter::Transform;

  const bool m_bModifiesData;

  friend class CTransInPlaceInputPin;
  friend class CTransInPlaceOutputPin;
};
