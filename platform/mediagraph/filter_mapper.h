// The filter mapper: filters enter themselves in the registry by category with merit, name, pins
// and media types, and hosts enumerate what is registered.
//
// Layout under HKEY_CLASSES_ROOT, one key per registered filter:
//   CLSID\{category}\Instance\{filter}      FriendlyName (text), CLSID (text "{...}"), Merit (DWORD)
//     Pins\000, Pins\001, ...               Name, ConnectsToPin, ConnectsToFilter (text);
//                                           Output, Rendered, Zero, Many (DWORD 0 or 1)
//       Types\000, ...                      MajorType, SubType (text "{...}")
#pragma once
#include <string>
#include <vector>

#include "platform/mediagraph/interfaces.h"

inline constexpr CLSID CLSID_FilterMapper2 = MakeGuid("CDA42200-BD88-11D0-BD4E-00A0C911CE86");
inline constexpr IID IID_IFilterMapper2 = MakeGuid("B79BB0B0-33C1-11D1-ABE1-00A0C905F375");
inline constexpr IID IID_IFilterMapper = MakeGuid("56A868A3-0AD4-11CE-B03A-0020AF0BA770");
// The category ordinary filters register in when none is given.
inline constexpr CLSID CLSID_LegacyAmFilterCategory = MakeGuid("083863F1-70DE-11D0-BD40-00A0C911CE86");

// Pin and media type records of a registration have the same form as the setup records.
using REGPINTYPES = AMOVIESETUP_MEDIATYPE;
using REGFILTERPINS = AMOVIESETUP_PIN;

struct REGFILTER2 {
  DWORD dwVersion;  // only 1 is accepted
  DWORD dwMerit;
  ULONG cPins;
  const REGFILTERPINS* rgPins;
};

struct IMoniker;
struct IEnumMoniker;
struct REGPINMEDIUM;

struct IFilterMapper2 : IUnknown {
  virtual HRESULT CreateCategory(REFCLSID category, DWORD merit, LPCWSTR description) = 0;
  // `category` null: the default category; `instance` null: the filter's identifier.
  virtual HRESULT UnregisterFilter(const CLSID* category, LPCWSTR instance, REFCLSID filter) = 0;
  // Replaces any earlier registration of the same instance. `moniker` must be null or point to
  // null (no moniker objects here).
  virtual HRESULT RegisterFilter(REFCLSID filter, LPCWSTR name, IMoniker** moniker, const CLSID* category,
                                 LPCWSTR instance, const REGFILTER2* rf2) = 0;
  // Not available: hosts use QxEnumRegisteredFilters.
  virtual HRESULT EnumMatchingFilters(IEnumMoniker** e, DWORD flags, BOOL exactMatch, DWORD minMerit,
                                      BOOL inputNeeded, DWORD cInputTypes, const GUID* inputTypes,
                                      const REGPINMEDIUM* mediumIn, const CLSID* pinCategoryIn, BOOL render,
                                      BOOL outputNeeded, DWORD cOutputTypes, const GUID* outputTypes,
                                      const REGPINMEDIUM* mediumOut, const CLSID* pinCategoryOut) = 0;
};

// Stands in for creating the system's filter mapper object: answers IFilterMapper2 (and IUnknown);
// E_NOINTERFACE for anything else, IFilterMapper included.
HRESULT QxCreateFilterMapper(REFIID riid, void** ppv);

// A registered filter as a host reads it back.
struct QxRegisteredPinType {
  GUID major;
  GUID minor;
};
struct QxRegisteredPin {
  std::u16string name;
  bool output = false, rendered = false, zero = false, many = false;
  GUID connectsToFilter{};
  std::u16string connectsToPin;
  std::vector<QxRegisteredPinType> types;
};
struct QxRegisteredFilter {
  CLSID clsid{};
  std::u16string name;
  DWORD merit = 0;
  std::vector<QxRegisteredPin> pins;
};

// The filters of `category` (null: the default one) with at least `minMerit` and, unless
// `majorType` is GUID_NULL, an input pin whose types include that major type (a null major type
// on a pin matches any). Ordered by merit, highest first, then by name. S_OK with an empty list
// when nothing is registered; the registry's failure otherwise. Entries it cannot read are skipped.
HRESULT QxEnumRegisteredFilters(const CLSID* category, REFGUID majorType, DWORD minMerit,
                                std::vector<QxRegisteredFilter>* out);
