// Multi-Tap Delay's transform: the control interface over the engine's record, and the core
// contract the shared streaming path drives.
#include "aplugins/qxppack1/delay/echomt_transform.h"

#include <mutex>

namespace {
// One version only: nothing older to fill in or migrate.
const QxPersistForm kEchomtForms[] = {
    {QX_ECHOMT_PERSIST_TAG, QX_ECHOMT_PERSIST_SIZE, sizeof(EchomtParams), nullptr},
};
using EchomtPresetAccess = QxPresetAccess<QxEchomtPreset, g_EchomtPresets>;
}  // namespace

const QxEffectTables g_EchomtTables = {
    sizeof(EchomtParams), kEchomtForms, 1, nullptr,
    26, EchomtPresetAccess::Name, EchomtPresetAccess::Record,
    /*QuietOnUnknown=*/true,
};

CQxEchomtTransform::CQxEchomtTransform() { SetAllParameters(&g_EchomtPresets[0].Params); }

CQxEchomtTransform::~CQxEchomtTransform() = default;

HRESULT CQxEchomtTransform::GetAllParameters(EchomtParams* record) {
  if (!record) return E_POINTER;
  engine_.GetParams(record);
  return S_OK;
}

HRESULT CQxEchomtTransform::SetAllParameters(const EchomtParams* record) {
  if (!record) return E_POINTER;
  return engine_.SetParams(*record);
}

HRESULT CQxEchomtTransform::RegisterWindow(HWND window, uint16_t commandId) {
  std::lock_guard<std::recursive_mutex> g(engine_.Lock());
  return notifier_.Register(window, commandId);
}

void CQxEchomtTransform::Notify(uint16_t code) {
  std::lock_guard<std::recursive_mutex> g(engine_.Lock());
  notifier_.Notify(code);
}

HRESULT CQxEchomtTransform::GetField(int field, int32_t* value) {
  if (!value) return E_POINTER;
  *value = engine_.GetField(field);
  return S_OK;
}

HRESULT CQxEchomtTransform::SetField(int field, int32_t value) {
  engine_.SetField(field, value);
  return S_OK;
}

HRESULT CQxEchomtTransform::Start(const WAVEFORMATEX* format) {
  engine_.SetFormat(format);
  return engine_.Start();
}

void CQxEchomtTransform::Stop() { engine_.Stop(); }

HRESULT CQxEchomtTransform::Apply(QxRunMode mode, const QxTempoRecord*) {
  // A block in RunFresh resets by itself; this carries a host's Reset to the next block.
  if (mode == RunFresh) engine_.RequestFresh();
  return S_OK;
}

int CQxEchomtTransform::ProcessBlock(QxSampleForm form, QxRunMode mode, BYTE* buffer,
                                     uint32_t* frames, int32_t tailRequest) {
  return QxProcessForm(engine_, form, mode, buffer, frames, tailRequest);
}
