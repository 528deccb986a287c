// Tests of the file-backed registry: keys, values, names, refusals, the on-disk transactions under
// two writing processes, corrupt files, and a registration tree removed without a trace.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>

#include "platform/registry/registry.h"

namespace {

class Registry : public ::testing::Test {
 protected:
  void SetUp() override {
    char tmpl[] = "/tmp/qxregtest.XXXXXX";
    ASSERT_NE(mkdtemp(tmpl), nullptr);
    dir_ = tmpl;
    file_ = dir_ + "/sub/registry";  // the directory is made on first write
    setenv("QX_REGISTRY_FILE", file_.c_str(), 1);
  }
  void TearDown() override {
    unsetenv("QX_REGISTRY_FILE");
    std::string cmd = "rm -rf '" + dir_ + "'";
    ASSERT_EQ(std::system(cmd.c_str()), 0);
  }
  std::string FileBytes() const {
    std::ifstream in(file_, std::ios::binary);
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
  }
  void WriteFile(const std::string& bytes) const {
    std::ofstream out(file_, std::ios::binary | std::ios::trunc);
    out << bytes;
  }
  static HKEY Create(HKEY root, const char16_t* path) {
    HKEY k = nullptr;
    EXPECT_EQ(RegCreateKeyW(root, path, &k), ERROR_SUCCESS);
    return k;
  }
  static LONG SetString(HKEY k, const char16_t* name, std::u16string_view text) {
    return RegSetValueExW(k, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.data()),
                          static_cast<DWORD>((text.size() + 1) * 2));
  }
  static LONG SetDword(HKEY k, const char16_t* name, DWORD v) {
    return RegSetValueExW(k, name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&v), 4);
  }
  static std::u16string GetString(HKEY k, const char16_t* name) {
    char16_t buf[256];
    DWORD cb = sizeof buf, type = 0;
    EXPECT_EQ(RegQueryValueExW(k, name, nullptr, &type, reinterpret_cast<BYTE*>(buf), &cb), ERROR_SUCCESS);
    EXPECT_EQ(type, REG_SZ);
    return std::u16string(buf);
  }
  static int CountSubkeys(HKEY k) {
    int n = 0;
    char16_t name[256];
    DWORD cch = 256;
    while (RegEnumKeyExW(k, n, name, &cch, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS) cch = 256, ++n;
    return n;
  }

  std::string dir_, file_;
};

TEST_F(Registry, CreateOpenDeleteKeys) {
  HKEY k = nullptr;
  DWORD disp = 0;
  ASSERT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, u"Software\\Corvane\\Test", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &k,
                            &disp),
            ERROR_SUCCESS);
  EXPECT_EQ(disp, REG_CREATED_NEW_KEY);
  EXPECT_EQ(RegCloseKey(k), ERROR_SUCCESS);
  EXPECT_EQ(RegCloseKey(k), ERROR_INVALID_HANDLE);
  ASSERT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, u"Software\\Corvane\\Test\\", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                            &k, &disp),
            ERROR_SUCCESS);
  EXPECT_EQ(disp, REG_OPENED_EXISTING_KEY);
  RegCloseKey(k);

  // Names match whatever their case; roots are separate trees.
  ASSERT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, u"SOFTWARE\\corvane\\tEST", 0, KEY_READ, &k), ERROR_SUCCESS);
  RegCloseKey(k);
  EXPECT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, u"Software\\Corvane", 0, KEY_READ, &k), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, u"\\Software", 0, KEY_READ, &k), ERROR_BAD_PATHNAME);
  EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, u"Software\\\\Corvane", 0, KEY_READ, &k), ERROR_BAD_PATHNAME);

  // A key with subkeys is refused; the leaf first, then its parent.
  EXPECT_EQ(RegDeleteKeyW(HKEY_CURRENT_USER, u"software\\CORVANE"), ERROR_ACCESS_DENIED);
  EXPECT_NE(std::string(QxRegistry_LastError()), "");
  EXPECT_EQ(RegDeleteKeyW(HKEY_CURRENT_USER, u"Software\\Corvane\\Test"), ERROR_SUCCESS);
  EXPECT_EQ(RegDeleteKeyW(HKEY_CURRENT_USER, u"Software\\Corvane\\Test"), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(RegDeleteKeyW(HKEY_CURRENT_USER, u"Software\\Corvane"), ERROR_SUCCESS);
  EXPECT_EQ(RegDeleteKeyW(HKEY_CURRENT_USER, u""), ERROR_ACCESS_DENIED);  // a root stays
  EXPECT_EQ(RegOpenKeyExW(reinterpret_cast<HKEY>(0x1234), u"x", 0, KEY_READ, &k), ERROR_INVALID_HANDLE);
}

TEST_F(Registry, ValuesAndTheirNames) {
  HKEY k = Create(HKEY_CURRENT_USER, u"Software\\Corvane\\App\\Lang");
  ASSERT_EQ(SetDword(k, u"ULangID", 0x407), ERROR_SUCCESS);
  ASSERT_EQ(SetString(k, nullptr, u"default"), ERROR_SUCCESS);
  const std::u16string odd = u"quote\" back\\slash\nnew line \u00e9\u65e5 \xD800 lone";
  ASSERT_EQ(SetString(k, u"Odd", odd), ERROR_SUCCESS);

  DWORD v = 0, cb = 4, type = 0;
  EXPECT_EQ(RegQueryValueExW(k, u"ulangid", nullptr, &type, reinterpret_cast<BYTE*>(&v), &cb), ERROR_SUCCESS);
  EXPECT_EQ(type, REG_DWORD);
  EXPECT_EQ(v, 0x407u);
  EXPECT_EQ(GetString(k, u""), u"default");
  EXPECT_EQ(GetString(k, u"ODD"), odd);  // escapes, UTF-8 and a lone surrogate survive the file

  // Size query, then a buffer one byte short.
  cb = 0;
  EXPECT_EQ(RegQueryValueExW(k, u"Odd", nullptr, nullptr, nullptr, &cb), ERROR_SUCCESS);
  EXPECT_EQ(cb, (odd.size() + 1) * 2);
  char16_t small[8];
  DWORD shortCb = sizeof small;
  EXPECT_EQ(RegQueryValueExW(k, u"Odd", nullptr, nullptr, reinterpret_cast<BYTE*>(small), &shortCb), ERROR_MORE_DATA);
  EXPECT_EQ(shortCb, cb);

  // Overwrite with another type; DWORD needs 4 bytes; delete.
  const BYTE blob[3] = {1, 0xFF, 0};
  EXPECT_EQ(RegSetValueExW(k, u"ulangid", 0, REG_BINARY, blob, 3), ERROR_SUCCESS);
  BYTE back[8];
  cb = sizeof back;
  EXPECT_EQ(RegQueryValueExW(k, u"ULangID", nullptr, &type, back, &cb), ERROR_SUCCESS);
  EXPECT_EQ(type, REG_BINARY);
  EXPECT_EQ(cb, 3u);
  EXPECT_EQ(RegSetValueExW(k, u"d", 0, REG_DWORD, blob, 3), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(RegDeleteValueW(k, u"ULANGID"), ERROR_SUCCESS);
  EXPECT_EQ(RegDeleteValueW(k, u"ULangID"), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(RegQueryValueExW(k, u"ULangID", nullptr, nullptr, nullptr, &cb), ERROR_FILE_NOT_FOUND);

  // A read-only handle may not write; a handle whose key is gone says so.
  HKEY ro = nullptr;
  ASSERT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, u"Software\\Corvane\\App\\Lang", 0, KEY_READ, &ro), ERROR_SUCCESS);
  EXPECT_EQ(SetDword(ro, u"x", 1), ERROR_ACCESS_DENIED);
  EXPECT_EQ(RegDeleteTreeW(HKEY_CURRENT_USER, u"Software\\Corvane"), ERROR_SUCCESS);
  EXPECT_EQ(SetDword(k, u"x", 1), ERROR_KEY_DELETED);
  RegCloseKey(ro);
  RegCloseKey(k);
}

TEST_F(Registry, EnumeratesInNameOrder) {
  HKEY k = Create(HKEY_LOCAL_MACHINE, u"Software\\Enum");
  for (const char16_t* n : {u"beta", u"Alpha", u"gamma", u"ALPHA2"}) RegCloseKey(Create(k, n));
  char16_t name[16];
  DWORD cch = 16;
  std::u16string order;
  for (DWORD i = 0; RegEnumKeyExW(k, i, name, &cch, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS; ++i) {
    EXPECT_EQ(cch, std::u16string(name).size());
    order += name;
    order += u',';
    cch = 16;
  }
  EXPECT_EQ(order, u"Alpha,ALPHA2,beta,gamma,");
  cch = 3;
  EXPECT_EQ(RegEnumKeyExW(k, 0, name, &cch, nullptr, nullptr, nullptr, nullptr), ERROR_MORE_DATA);
  cch = 16;
  EXPECT_EQ(RegEnumKeyExW(k, 4, name, &cch, nullptr, nullptr, nullptr, nullptr), ERROR_NO_MORE_ITEMS);
  RegCloseKey(k);
}

TEST_F(Registry, TwoProcessesWritingConcurrentlyLoseNothing) {
  constexpr int kKeys = 200;
  pid_t kids[2];
  for (int p = 0; p < 2; ++p) {
    kids[p] = fork();
    ASSERT_GE(kids[p], 0);
    if (kids[p] == 0) {
      int bad = 0;
      for (int i = 0; i < kKeys; ++i) {
        std::u16string path = u"Software\\Concurrent\\P" + std::u16string(1, u'0' + p) + u"_";
        for (char c : std::to_string(i)) path += static_cast<char16_t>(c);
        HKEY k = nullptr;
        if (RegCreateKeyW(HKEY_CURRENT_USER, path.c_str(), &k) != ERROR_SUCCESS) ++bad;
        DWORD v = static_cast<DWORD>(i);
        if (RegSetValueExW(k, u"n", 0, REG_DWORD, reinterpret_cast<BYTE*>(&v), 4) != ERROR_SUCCESS) ++bad;
        RegCloseKey(k);
      }
      _exit(bad ? 1 : 0);
    }
  }
  for (pid_t pid : kids) {
    int status = 0;
    ASSERT_EQ(waitpid(pid, &status, 0), pid);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  }
  HKEY k = nullptr;
  ASSERT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, u"Software\\Concurrent", 0, KEY_READ, &k), ERROR_SUCCESS);
  EXPECT_EQ(CountSubkeys(k), 2 * kKeys);
  HKEY last = nullptr;
  ASSERT_EQ(RegOpenKeyExW(k, u"P1_199", 0, KEY_READ, &last), ERROR_SUCCESS);
  DWORD v = 0, cb = 4;
  EXPECT_EQ(RegQueryValueExW(last, u"n", nullptr, nullptr, reinterpret_cast<BYTE*>(&v), &cb), ERROR_SUCCESS);
  EXPECT_EQ(v, 199u);
  RegCloseKey(last);
  RegCloseKey(k);
}

TEST_F(Registry, DamagedFileIsReportedAndLeftUntouched) {
  HKEY k = Create(HKEY_CURRENT_USER, u"Software\\Keep");
  ASSERT_EQ(SetString(k, u"v", u"precious"), ERROR_SUCCESS);
  const std::string good = FileBytes();
  EXPECT_NE(good.find("\"v\"=\"precious\""), std::string::npos);  // readable text

  for (const std::string& bad : {good.substr(0, good.size() - 12),                    // truncated
                                 std::string(good).replace(good.find("precious"), 1, "P")}) {  // damaged
    WriteFile(bad);
    EXPECT_EQ(SetDword(k, u"x", 1), ERROR_REGISTRY_CORRUPT);
    EXPECT_EQ(QxRegistry_LastErrorCode(), ERROR_REGISTRY_CORRUPT);
    const std::string msg = QxRegistry_LastError();
    EXPECT_NE(msg.find(file_), std::string::npos) << msg;
    HKEY other = nullptr;
    EXPECT_EQ(RegCreateKeyW(HKEY_CURRENT_USER, u"Software\\New", &other), ERROR_REGISTRY_CORRUPT);
    EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, u"Software\\Keep", 0, KEY_READ, &other), ERROR_REGISTRY_CORRUPT);
    EXPECT_EQ(FileBytes(), bad);
  }
  WriteFile(good);
  EXPECT_EQ(GetString(k, u"v"), u"precious");
  RegCloseKey(k);
}

TEST_F(Registry, RegistrationTreeRemovedLeavesFileAsItWas) {
  HKEY other = Create(HKEY_CLASSES_ROOT, u"CLSID\\{00000000-1111-2222-3333-444444444444}");
  SetString(other, nullptr, u"Somebody else");
  RegCloseKey(other);
  const std::string before = FileBytes();

  const char16_t* classes[] = {u"{54F29260-79B1-11D0-AEBC-00A0C9053912}", u"{54F29261-79B1-11D0-AEBC-00A0C9053912}",
                               u"{B97C0F22-196D-11D1-B99B-00A0C9053912}"};
  for (const char16_t* clsid : classes) {
    HKEY c = Create(HKEY_CLASSES_ROOT, (std::u16string(u"CLSID\\") + clsid).c_str());
    ASSERT_EQ(SetString(c, nullptr, u"Simple Delay"), ERROR_SUCCESS);
    HKEY s = Create(c, u"InprocServer32");
    ASSERT_EQ(SetString(s, nullptr, u"/usr/lib/qxppack1.so"), ERROR_SUCCESS);
    ASSERT_EQ(SetString(s, u"ThreadingModel", u"Both"), ERROR_SUCCESS);
    RegCloseKey(s);
    RegCloseKey(c);
  }
  EXPECT_NE(FileBytes(), before);

  for (const char16_t* clsid : classes)
    EXPECT_EQ(RegDeleteTreeW(HKEY_CLASSES_ROOT, (std::u16string(u"CLSID\\") + clsid).c_str()), ERROR_SUCCESS);
  EXPECT_EQ(FileBytes(), before);
}

TEST(RegistryPath, LocationFromEnvironment) {
  const char* names[] = {"QX_REGISTRY_FILE", "XDG_CONFIG_HOME", "HOME"};
  std::optional<std::string> saved[3];
  for (int i = 0; i < 3; ++i)
    if (const char* v = std::getenv(names[i])) saved[i] = v;
  unsetenv("QX_REGISTRY_FILE");
  setenv("XDG_CONFIG_HOME", "/tmp/xdg-test", 1);
  EXPECT_EQ(QxRegistry_FilePath(), "/tmp/xdg-test/qxppack1/registry");
  unsetenv("XDG_CONFIG_HOME");
  setenv("HOME", "/tmp/home-test", 1);
  EXPECT_EQ(QxRegistry_FilePath(), "/tmp/home-test/.config/qxppack1/registry");
  setenv("QX_REGISTRY_FILE", "/tmp/explicit", 1);
  EXPECT_EQ(QxRegistry_FilePath(), "/tmp/explicit");
  for (int i = 0; i < 3; ++i) saved[i] ? setenv(names[i], saved[i]->c_str(), 1) : unsetenv(names[i]);
}

}  // namespace
