// The kernel's catalogue data: English texts in all 18 columns, and the native language names.
#include "kernel/services/qx_lang_catalogue.h"

const LCID g_QxLangColumnLcids[QXLANG_COLUMNS] = {0x409, 0x411, 0x407, 0x40A, 0x40C, 0x804,
                                                  0x404, 0x406, 0x40B, 0x410, 0x412, 0x413,
                                                  0x414, 0x416, 0x816, 0x419, 0x41D, 0x415};

namespace {
constexpr WCHAR kPcm[] = u"PCM";
constexpr WCHAR kIeeeFloat[] = u"IEEE Float";
constexpr WCHAR kMono[] = u"Mono";
constexpr WCHAR kStereo[] = u"Stereo";
constexpr WCHAR kChannels[] = u"%d Channels";
constexpr WCHAR kFormatDescription[] = u"$d Hz$, %d Bit$, %s";
constexpr WCHAR kCompressed[] = u"Compressed";
constexpr WCHAR kNegInf[] = u"-Inf.";
constexpr WCHAR kError[] = u"Err.";
constexpr WCHAR kDbUnit[] = u" dB";
}  // namespace

#define QX_ALL_COLUMNS(s) {s, s, s, s, s, s, s, s, s, s, s, s, s, s, s, s, s, s}
#define QX_ENGLISH_ENTRY(s) {QXLANG_MARKER, QXLANG_COLUMNS, 0, QX_ALL_COLUMNS(s), nullptr}

QXLANGENTRY g_QxLangCatalogue[QXLS_COUNT] = {
    QX_ENGLISH_ENTRY(kPcm),
    QX_ENGLISH_ENTRY(kIeeeFloat),
    QX_ENGLISH_ENTRY(kMono),
    QX_ENGLISH_ENTRY(kStereo),
    QX_ENGLISH_ENTRY(kChannels),
    QX_ENGLISH_ENTRY(kFormatDescription),
    QX_ENGLISH_ENTRY(kCompressed),
    QX_ENGLISH_ENTRY(kNegInf),
    QX_ENGLISH_ENTRY(kError),
    QX_ENGLISH_ENTRY(kDbUnit),
    {QXLANG_MARKER,
     QXLANG_COLUMNS,
     0,
     {u"English", u"日本語", u"Deutsch", u"Español", u"Français", u"简体中文", u"繁體中文", u"Dansk", u"Suomi",
      u"Italiano", u"한국어", u"Nederlands", u"Norsk", u"Português (Brasil)", u"Português (Portugal)", u"Русский",
      u"Svenska", u"Polski"},
     nullptr},
};
static_assert(QXLS_LANGUAGE_NAME == QXLS_COUNT - 1);
