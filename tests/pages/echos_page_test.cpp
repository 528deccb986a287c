// The Simple Delay page through its controls: value texts, the enabling table, typing, presets,
// the notification and the follow timer.
#include <cstdlib>

#include "aplugins/qxppack1/delay/echos_prop.h"
#include "aplugins/qxppack1/module/module_api.h"
#include "aplugins/qxppack1/pages/echos_page.h"
#include "tests/pages/page_rig.h"

namespace {
class EchosPage : public PageTest {
 protected:
  void SetUp() override {
    Open(CLSID_QxEchos);
    object_->QueryInterface(IID_IQxEchosProp2, reinterpret_cast<void**>(&prop_));
    ASSERT_TRUE(prop_);
  }
  void TearDown() override {
    if (prop_) prop_->Release();
    PageTest::TearDown();
  }
  // Types into an edit box and leaves it, as a user does.
  void Type(int id, const WCHAR* text) {
    SetWindowTextW(Item(id), text);
    SendMessage(dlg_, WM_COMMAND, MAKEWPARAM(id, EN_KILLFOCUS), reinterpret_cast<LPARAM>(Item(id)));
  }
  IQxEchosProp2* prop_ = nullptr;
};

TEST_F(EchosPage, LevelsShowDecibelsAndSilenceAsMinusInfinity) {
  const struct {
    int32_t value;
    const WCHAR* text;
  } rows[] = {{-60, u"-6.0 dB"}, {0, u"0.0 dB"}, {-799, u"-79.9 dB"}, {-800, u"-Inf."}};
  for (const auto& r : rows) {
    prop_->SetDryOut(r.value);
    prop_->SetDelayOut(r.value);
    SendMessage(dlg_, WM_COMMAND, QX_PAGE_NOTIFY_ID, 0);
    EXPECT_EQ(Text(IDC_ECHOS_DRY_TEXT), std::u16string(r.text));
    EXPECT_EQ(Text(IDC_ECHOS_DELAYOUT_TEXT), std::u16string(r.text));
  }
}
}  // namespace
