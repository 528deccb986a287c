// Tests of the resource stand-in: string blocks by the platform's rule, language search,
// LoadStringW's truncation and pointer form, and satellite files.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <string>

#include "kernel/services/qx_resources.h"

namespace {

struct Module {
  HMODULE m = QxResources_CreateModule("/opt/fx/module.so");
  ~Module() { QxResources_FreeModule(m); }
};

}  // namespace

TEST(Resources, BlocksFollowThePlatformRule) {
  Module mod;
  const QxStringTableEntry en[] = {{16, u"first of block 2"}, {18, u"third"}, {31, u"last"}, {3000, u"page title"}};
  ASSERT_EQ(QxResources_AddStringTable(mod.m, 0x409, en, 4), S_OK);

  HRSRC r = FindResourceExW(mod.m, RT_STRING, MAKEINTRESOURCEW(18 / 16 + 1), 0x409);
  ASSERT_NE(r, nullptr);
  const auto* block = static_cast<const WCHAR*>(LockResource(LoadResource(mod.m, r)));
  // Block 2: count+text+terminator for 16, 0 for 17, then 18 ...
  EXPECT_EQ(block[0], 17);  // "first of block 2" is 16 units plus its terminator
  EXPECT_EQ(block[18], 0);  // 17 is empty
  EXPECT_EQ(block[19], 6);  // "third" + terminator
  const WCHAR* text = nullptr;
  WORD count = 0;
  ASSERT_TRUE(QxResources_StringInBlock(block, SizeofResource(mod.m, r), 31, &text, &count));
  EXPECT_EQ(std::u16string(text), u"last");
  EXPECT_EQ(count, 5);
  ASSERT_TRUE(QxResources_StringInBlock(block, SizeofResource(mod.m, r), 17, &text, &count));
  EXPECT_EQ(count, 0);
  EXPECT_FALSE(QxResources_StringInBlock(block, 4, 31, &text, &count));  // block cut short

  EXPECT_EQ(FindResourceExW(mod.m, RT_STRING, MAKEINTRESOURCEW(2), 0x407), nullptr);  // exact language
  EXPECT_EQ(FindResourceExW(mod.m, MAKEINTRESOURCEW(5), MAKEINTRESOURCEW(2), 0x409), nullptr);
  EXPECT_EQ(FindResourceExW(mod.m, RT_STRING, MAKEINTRESOURCEW(2), 0), r);  // neutral falls to 0x409
  EXPECT_EQ(FindResourceExW(reinterpret_cast<HMODULE>(0x5000), RT_STRING, MAKEINTRESOURCEW(2), 0), nullptr);
}

TEST(Resources, LoadStringW) {
  Module mod;
  const QxStringTableEntry de[] = {{7, u"nur deutsch"}};
  const QxStringTableEntry en[] = {{7, u"english"}, {8, u"0123456789"}};
  ASSERT_EQ(QxResources_AddStringTable(mod.m, 0x407, de, 1), S_OK);
  WCHAR buf[8];
  EXPECT_EQ(LoadStringW(mod.m, 7, buf, 8), 7);  // only German there: any language serves
  EXPECT_EQ(std::u16string(buf), u"nur deu");
  ASSERT_EQ(QxResources_AddStringTable(mod.m, 0x409, en, 2), S_OK);
  EXPECT_EQ(LoadStringW(mod.m, 7, buf, 8), 7);
  EXPECT_EQ(std::u16string(buf), u"english");
  EXPECT_EQ(LoadStringW(mod.m, 8, buf, 8), 7);  // cut with the terminator
  EXPECT_EQ(std::u16string(buf), u"0123456");
  const WCHAR* direct = nullptr;
  EXPECT_EQ(LoadStringW(mod.m, 8, reinterpret_cast<LPWSTR>(&direct), 0), 10);
  EXPECT_EQ(std::u16string(direct, 10), u"0123456789");
  EXPECT_EQ(LoadStringW(mod.m, 9, buf, 8), 0);
  EXPECT_EQ(buf[0], 0);
  const QxStringTableEntry bad[] = {{70000, u"x"}};
  EXPECT_EQ(QxResources_AddStringTable(mod.m, 0x409, bad, 1), E_INVALIDARG);
}

TEST(Resources, SatelliteFile) {
  const std::string path = testing::TempDir() + "qxres_satellite.LNG";
  {
    std::ofstream out(path, std::ios::binary);
    out << "\xEF\xBB\xBFQXLNG 1\r\n# translations\n\n[0407]\n100=Hallo Welt\r\n101=  zwei\\tTab \\\\ \\u00e4 \xC3\xB6\n"
        << "[0x040C]\n100=Bonjour\n";
  }
  HMODULE sat = QxResources_LoadDataFile(path.c_str());
  ASSERT_NE(sat, nullptr);
  EXPECT_EQ(std::string(QxResources_GetModulePath(sat)), path);
  const WCHAR* text = nullptr;
  WORD count = 0;
  HRSRC r = FindResourceExW(sat, RT_STRING, MAKEINTRESOURCEW(101 / 16 + 1), 0x407);
  ASSERT_TRUE(QxResources_StringInBlock(LockResource(LoadResource(sat, r)), SizeofResource(sat, r), 101, &text, &count));
  EXPECT_EQ(std::u16string(text), u"  zwei\tTab \\ \u00e4 \u00f6");
  r = FindResourceExW(sat, RT_STRING, MAKEINTRESOURCEW(100 / 16 + 1), 0x40C);
  ASSERT_TRUE(QxResources_StringInBlock(LockResource(LoadResource(sat, r)), SizeofResource(sat, r), 100, &text, &count));
  EXPECT_EQ(std::u16string(text), u"Bonjour");
  QxResources_FreeModule(sat);

  for (const char* bad : {"QXLNG 2\n[0407]\n1=x\n", "QXLNG 1\n1=no language yet\n", "QXLNG 1\n[0407]\nx=1\n",
                          "QXLNG 1\n[0407]\n1=bad \\q escape\n", "QXLNG 1\n[0407]\n70000=too big\n"}) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << bad;
    EXPECT_EQ(QxResources_LoadDataFile(path.c_str()), nullptr) << bad;
  }
  std::remove(path.c_str());
  EXPECT_EQ(QxResources_LoadDataFile(path.c_str()), nullptr);
}
