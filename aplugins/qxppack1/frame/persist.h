// An effect's parameter record across a stream (a 20-byte header naming the record's version, then
// the record), older versions read with their defaults, and the named presets compiled into the
// module. Each effect supplies only its tables; the frame does the rest.
#pragma once
#include <cstdint>

#include "aplugins/qxppack1/frame/effect_interfaces.h"
#include "kernel/services/qx_resources.h"
#include "platform/com/persist.h"
#include "platform/com/property_pages.h"

// One readable version of a record: its tag and total size (header included), how many record
// bytes it carries, and what must be done to them after reading.
struct QxPersistForm {
  GUID Tag;
  uint32_t Size;
  uint32_t DataBytes;
  void (*Migrate)(void* record);  // may be null
};

inline constexpr uint32_t QX_PERSIST_HEADER = 20;

struct QxEffectTables {
  uint32_t RecordSize;
  const QxPersistForm* Forms;  // Forms[0] is the version that Save writes
  uint32_t FormCount;
  // Fills the current version's defaults for the fields older versions lack; others stay 0.
  void (*Defaults)(void* record);
  uint32_t PresetCount;
  const WCHAR* (*PresetName)(uint32_t index);     // a string key: a number, an entry or a literal
  const void* (*PresetRecord)(uint32_t index);
  // A header of no known version: some effects change nothing and stay silent, the others still
  // tell the pages that all parameters may have changed.
  bool QuietOnUnknown = false;
};

// Holds a preset table of rows {uint32_t Name; Record Params;}, Name a string number, and answers
// the two accessors.
template <class Row, const Row* Rows>
struct QxPresetAccess {
  static const WCHAR* Name(uint32_t i) { return MAKEINTRESOURCEW(Rows[i].Name); }
  static const void* Record(uint32_t i) { return &Rows[i].Params; }
};

// IPersistStream, IStaticFilterPreset and IQxTranslationInfo over an effect's record, and
// ISpecifyPropertyPages naming the page that edits it.
class CQxPersistFrame : public IPersistStream,
                        public IStaticFilterPreset,
                        public IQxTranslationInfo,
                        public ISpecifyPropertyPages {
 public:
  virtual ~CQxPersistFrame() = default;

  HRESULT IsDirty() override;
  HRESULT Load(IStream* stream) override;
  HRESULT Save(IStream* stream, BOOL clearDirty) override;
  HRESULT GetSizeMax(ULARGE_INTEGER* size) override;

  HRESULT GetPresetCount(LONG* count) override;
  HRESULT GetPresetName(LONG index, WCHAR* text) override;
  HRESULT LoadPreset(LONG index) override;

  HRESULT SetLanguage(DWORD lcid) override;

  // One page: the one the class table pairs with the filter's class.
  HRESULT GetPages(CAUUID* pages) override;

  // Answers the four interfaces, or returns false.
  bool QueryPersist(REFIID riid, void** ppv);

 protected:
  virtual const QxEffectTables& PersistTables() = 0;
  virtual void PersistGetRecord(void* record) = 0;
  // Sets the whole record as one gesture; marks the parameters and the persistent state dirty.
  virtual HRESULT PersistSetRecord(const void* record) = 0;
  virtual bool PersistDirty() = 0;
  virtual void SetPersistDirty(bool dirty) = 0;
  virtual void NotifyChange(uint16_t code) = 0;
};
