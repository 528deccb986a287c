// The registry stand-in: an in-memory key tree read from and written to one text file, with
// handles that name keys by path and every change done as a locked transaction on the file.
//
// File format (UTF-8, one item a line):
//   QXREGISTRY 1
//   [HKEY_CURRENT_USER\Software\Corvane\App\Lang]     a key; every key has its line
//   "ULangID"=dword:00000409                           its values: @ is the default value
//   "Name"="text with \" \\ \n escapes"                REG_SZ
//   "Path"=str(2):"%HOME%\\bin"                        other text types
//   "Blob"=hex:01,02,ff                                REG_BINARY; hex(N): for other types
//   #END <keys> <crc32>                                last line; the CRC-32 covers all bytes before it
// Key names escape '%' and control characters as %HH. A file without a valid last line is corrupt.
#include "platform/registry/registry.h"

#include <fcntl.h>
#include <pwd.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <new>
#include <string_view>
#include <thread>
#include <unordered_set>
#include <vector>

#include "platform/registry/utf.h"

namespace {

// --- errors ----------------------------------------------------------------------------------

// Plain buffers: a thread-local with a destructor would keep a module that calls the registry from
// ever being unloaded while the calling thread lives.
thread_local char t_lastError[512];
thread_local LONG t_lastCode = ERROR_SUCCESS;

LONG Fail(LONG code, const std::string& message) {
  t_lastCode = code;
  const size_t n = std::min(message.size(), sizeof t_lastError - 1);
  std::memcpy(t_lastError, message.data(), n);
  t_lastError[n] = 0;
  return code;
}

LONG FailCode(LONG code) {
  const char* what = "registry call failed";
  switch (code) {
    case ERROR_FILE_NOT_FOUND: what = "key or value not found"; break;
    case ERROR_ACCESS_DENIED: what = "access denied (key has subkeys, is a root, or the handle lacks the right)"; break;
    case ERROR_INVALID_HANDLE: what = "invalid key handle"; break;
    case ERROR_INVALID_PARAMETER: what = "invalid parameter"; break;
    case ERROR_BAD_PATHNAME: what = "bad key path"; break;
    case ERROR_MORE_DATA: what = "buffer too small"; break;
    case ERROR_NO_MORE_ITEMS: what = "no more items"; break;
    case ERROR_KEY_DELETED: what = "the key of this handle has been deleted"; break;
    case ERROR_NOT_ENOUGH_MEMORY: what = "out of memory"; break;
  }
  return Fail(code, std::string("qx registry: ") + what + " (error " + std::to_string(code) + ")");
}

// --- names -----------------------------------------------------------------------------------

char16_t Fold(char16_t c) {
  if (c < 0x80) return (c >= u'a' && c <= u'z') ? static_cast<char16_t>(c - 32) : c;
  if ((c >= 0xE0 && c <= 0xFE && c != 0xF7) || (c >= 0x3B1 && c <= 0x3C9 && c != 0x3C2) ||
      (c >= 0x430 && c <= 0x44F))
    return static_cast<char16_t>(c - 32);
  if (c >= 0x450 && c <= 0x45F) return static_cast<char16_t>(c - 80);
  return c;
}

int CompareNames(std::u16string_view a, std::u16string_view b) {
  const size_t n = std::min(a.size(), b.size());
  for (size_t i = 0; i < n; ++i) {
    const char16_t x = Fold(a[i]), y = Fold(b[i]);
    if (x != y) return x < y ? -1 : 1;
  }
  return a.size() == b.size() ? 0 : (a.size() < b.size() ? -1 : 1);
}

std::u16string_view View(LPCWSTR s) { return s ? std::u16string_view(s) : std::u16string_view(); }

// Splits "a\b\c" into its names. One trailing backslash is allowed; empty names elsewhere are not.
LONG SplitPath(LPCWSTR text, std::vector<std::u16string>& out) {
  std::u16string_view s = View(text);
  if (!s.empty() && s.back() == u'\\') s.remove_suffix(1);
  if (s.empty()) return ERROR_SUCCESS;
  size_t start = 0;
  while (true) {
    const size_t end = s.find(u'\\', start);
    const std::u16string_view part = s.substr(start, end == s.npos ? s.npos : end - start);
    if (part.empty()) return ERROR_BAD_PATHNAME;
    if (part.size() > 255) return ERROR_INVALID_PARAMETER;
    out.emplace_back(part);
    if (end == s.npos) break;
    start = end + 1;
  }
  return ERROR_SUCCESS;
}

// --- the tree --------------------------------------------------------------------------------

struct Value {
  std::u16string name;
  DWORD type = REG_NONE;
  std::vector<BYTE> data;  // text types: UTF-16 units with one terminator
};

struct Node {
  std::u16string name;
  std::vector<Value> values;
  std::vector<std::unique_ptr<Node>> kids;  // kept in name order

  Node* Find(std::u16string_view n) const {
    for (const auto& k : kids)
      if (CompareNames(k->name, n) == 0) return k.get();
    return nullptr;
  }
  Node* Add(std::u16string n) {
    auto node = std::make_unique<Node>();
    node->name = std::move(n);
    auto at = std::lower_bound(kids.begin(), kids.end(), node->name,
                               [](const std::unique_ptr<Node>& k, const std::u16string& v) {
                                 return CompareNames(k->name, v) < 0;
                               });
    return kids.insert(at, std::move(node))->get();
  }
  Value* FindValue(std::u16string_view n) {
    for (auto& v : values)
      if (CompareNames(v.name, n) == 0) return &v;
    return nullptr;
  }
};

constexpr int kRootCount = 3;
constexpr std::array<const char*, kRootCount> kRootNames = {"HKEY_CLASSES_ROOT", "HKEY_CURRENT_USER",
                                                            "HKEY_LOCAL_MACHINE"};

struct Tree {
  std::array<Node, kRootCount> roots;

  Node* Walk(int root, const std::vector<std::u16string>& path) {
    Node* n = &roots[root];
    for (const auto& p : path) {
      n = n->Find(p);
      if (!n) return nullptr;
    }
    return n;
  }
};

// --- file text -------------------------------------------------------------------------------

uint32_t Crc32(std::string_view s) {
  static const auto table = [] {
    std::array<uint32_t, 256> t{};
    for (uint32_t i = 0; i < 256; ++i) {
      uint32_t c = i;
      for (int k = 0; k < 8; ++k) c = (c & 1) ? 0xEDB88320u ^ (c >> 1) : c >> 1;
      t[i] = c;
    }
    return t;
  }();
  uint32_t c = 0xFFFFFFFFu;
  for (unsigned char b : s) c = table[(c ^ b) & 0xFF] ^ (c >> 8);
  return c ^ 0xFFFFFFFFu;
}

constexpr std::string_view kHeader = "QXREGISTRY 1\n";
constexpr std::string_view kEnd = "#END ";

void Hex2(std::string& out, unsigned v) {
  static const char digits[] = "0123456789abcdef";
  out += digits[(v >> 4) & 15];
  out += digits[v & 15];
}

std::string EscapeKeyName(const std::u16string& name) {
  std::string out;
  for (char c : QxUtf16ToUtf8(name)) {
    const auto u = static_cast<unsigned char>(c);
    if (u < 0x20 || u == 0x7F || c == '%') {
      out += '%';
      Hex2(out, u);
    } else {
      out += c;
    }
  }
  return out;
}

void AppendQuoted(std::string& out, std::string_view utf8) {
  out += '"';
  for (char c : utf8) {
    const auto u = static_cast<unsigned char>(c);
    switch (c) {
      case '"': out += "\\\""; break;
      case '\\': out += "\\\\"; break;
      case '\n': out += "\\n"; break;
      case '\r': out += "\\r"; break;
      case '\t': out += "\\t"; break;
      default:
        if (u < 0x20 || u == 0x7F) {
          out += "\\x";
          Hex2(out, u);
        } else {
          out += c;
        }
    }
  }
  out += '"';
}

bool IsTextType(DWORD type) { return type == REG_SZ || type == REG_EXPAND_SZ; }

std::u16string TextOf(const std::vector<BYTE>& data) {
  std::u16string s(data.size() / 2, u'\0');
  if (!s.empty()) std::memcpy(s.data(), data.data(), s.size() * 2);
  const size_t nul = s.find(u'\0');
  if (nul != s.npos) s.resize(nul);
  return s;
}

std::vector<BYTE> TextData(std::u16string_view s) {
  std::vector<BYTE> d((s.size() + 1) * 2, 0);
  if (!s.empty()) std::memcpy(d.data(), s.data(), s.size() * 2);
  return d;
}

void WriteNode(std::string& out, const Node& n, std::string& path, size_t& keys) {
  const size_t mark = path.size();
  for (const auto& k : n.kids) {
    path += '\\';
    path += EscapeKeyName(k->name);
    ++keys;
    out += '[';
    out += path;
    out += "]\n";
    for (const Value& v : k->values) {
      if (v.name.empty())
        out += '@';
      else
        AppendQuoted(out, QxUtf16ToUtf8(v.name));
      out += '=';
      if (v.type == REG_SZ) {
        AppendQuoted(out, QxUtf16ToUtf8(TextOf(v.data)));
      } else if (IsTextType(v.type)) {
        out += "str(" + std::to_string(v.type) + "):";
        AppendQuoted(out, QxUtf16ToUtf8(TextOf(v.data)));
      } else if (v.type == REG_DWORD && v.data.size() == 4) {
        DWORD d;
        std::memcpy(&d, v.data.data(), 4);
        char buf[16];
        std::snprintf(buf, sizeof buf, "dword:%08x", d);
        out += buf;
      } else {
        out += v.type == REG_BINARY ? std::string("hex:") : "hex(" + std::to_string(v.type) + "):";
        for (size_t i = 0; i < v.data.size(); ++i) {
          if (i) out += ',';
          Hex2(out, v.data[i]);
        }
      }
      out += '\n';
    }
    WriteNode(out, *k, path, keys);
    path.resize(mark);
  }
}

std::string Serialize(const Tree& t) {
  std::string out(kHeader);
  size_t keys = 0;
  for (int r = 0; r < kRootCount; ++r) {
    std::string path = kRootNames[r];
    WriteNode(out, t.roots[r], path, keys);
  }
  char end[64];
  std::snprintf(end, sizeof end, "%s%zu %08x\n", kEnd.data(), keys, Crc32(out));
  out += end;
  return out;
}

// Parsing. Any failure is a corrupt file; `why` says where.
struct Parser {
  std::string_view line;
  size_t pos = 0;

  bool Eat(char c) {
    if (pos < line.size() && line[pos] == c) {
      ++pos;
      return true;
    }
    return false;
  }
  static int HexVal(char c) {
    return c >= '0' && c <= '9' ? c - '0' : c >= 'a' && c <= 'f' ? c - 'a' + 10 : c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
  }
  bool HexByte(unsigned& v) {
    if (pos + 2 > line.size()) return false;
    const int a = HexVal(line[pos]), b = HexVal(line[pos + 1]);
    if (a < 0 || b < 0) return false;
    v = static_cast<unsigned>(a * 16 + b);
    pos += 2;
    return true;
  }
  bool Quoted(std::u16string& out) {
    if (!Eat('"')) return false;
    std::string s;
    while (pos < line.size() && line[pos] != '"') {
      char c = line[pos++];
      if (c == '\\') {
        if (pos >= line.size()) return false;
        const char e = line[pos++];
        unsigned v;
        switch (e) {
          case '"': c = '"'; break;
          case '\\': c = '\\'; break;
          case 'n': c = '\n'; break;
          case 'r': c = '\r'; break;
          case 't': c = '\t'; break;
          case 'x':
            if (!HexByte(v)) return false;
            c = static_cast<char>(v);
            break;
          default: return false;
        }
      }
      s += c;
    }
    if (!Eat('"')) return false;
    return QxUtf8ToUtf16(s, out);
  }
  bool Number(DWORD& v) {
    size_t start = pos;
    v = 0;
    while (pos < line.size() && line[pos] >= '0' && line[pos] <= '9' && pos - start < 10)
      v = v * 10 + static_cast<DWORD>(line[pos++] - '0');
    return pos > start;
  }
};

bool ParseKeyLine(std::string_view line, Tree& t, Node*& current) {
  if (line.size() < 2 || line.back() != ']') return false;
  const std::string_view body = line.substr(1, line.size() - 2);
  std::vector<std::u16string> names;
  size_t start = 0;
  while (true) {
    const size_t end = body.find('\\', start);
    const std::string_view raw = body.substr(start, end == body.npos ? body.npos : end - start);
    std::string utf8;
    for (size_t i = 0; i < raw.size(); ++i) {
      if (raw[i] == '%') {
        if (i + 2 >= raw.size()) return false;
        const int a = Parser::HexVal(raw[i + 1]), b = Parser::HexVal(raw[i + 2]);
        if (a < 0 || b < 0) return false;
        utf8 += static_cast<char>(a * 16 + b);
        i += 2;
      } else {
        utf8 += raw[i];
      }
    }
    std::u16string name;
    if (utf8.empty() || !QxUtf8ToUtf16(utf8, name)) return false;
    names.push_back(std::move(name));
    if (end == body.npos) break;
    start = end + 1;
  }
  int root = -1;
  for (int r = 0; r < kRootCount; ++r)
    if (QxUtf16ToUtf8(names[0]) == kRootNames[r]) root = r;
  if (root < 0 || names.size() < 2) return false;
  Node* n = &t.roots[root];
  for (size_t i = 1; i < names.size(); ++i) {
    Node* k = n->Find(names[i]);
    if (!k) {
      if (i + 1 != names.size()) return false;  // parents come first in the file
      k = n->Add(std::move(names[i]));
    } else if (i + 1 == names.size()) {
      return false;  // a key written twice
    }
    n = k;
  }
  current = n;
  return true;
}

bool ParseValueLine(std::string_view line, Node* current) {
  if (!current) return false;
  Parser p{line};
  Value v;
  if (!p.Eat('@') && !p.Quoted(v.name)) return false;
  if (!p.Eat('=')) return false;
  const std::string_view rest = line.substr(p.pos);
  if (rest.starts_with("\"") || rest.starts_with("str(")) {
    v.type = REG_SZ;
    if (rest.starts_with("str(")) {
      p.pos += 4;
      if (!p.Number(v.type) || !p.Eat(')') || !p.Eat(':') || !IsTextType(v.type)) return false;
    }
    std::u16string text;
    if (!p.Quoted(text)) return false;
    v.data = TextData(text);
  } else if (rest.starts_with("dword:")) {
    p.pos += 6;
    DWORD d = 0;
    for (int i = 0; i < 4; ++i) {
      unsigned b;
      if (!p.HexByte(b)) return false;
      d = (d << 8) | b;
    }
    v.type = REG_DWORD;
    v.data.resize(4);
    std::memcpy(v.data.data(), &d, 4);
  } else if (rest.starts_with("hex")) {
    p.pos += 3;
    v.type = REG_BINARY;
    if (p.Eat('(') && (!p.Number(v.type) || !p.Eat(')'))) return false;
    if (!p.Eat(':')) return false;
    while (p.pos < line.size()) {
      unsigned b;
      if (!p.HexByte(b)) return false;
      v.data.push_back(static_cast<BYTE>(b));
      if (p.pos < line.size() && !p.Eat(',')) return false;
    }
  } else {
    return false;
  }
  if (p.pos != line.size() || current->FindValue(v.name)) return false;
  current->values.push_back(std::move(v));
  return true;
}

// Checks the end marker, then builds the tree. Answers "" or what is wrong.
std::string Parse(std::string_view text, Tree& t) {
  if (!text.starts_with(kHeader)) return "unknown header";
  if (text.empty() || text.back() != '\n') return "no end marker: the file is truncated";
  const size_t endLine = text.rfind('\n', text.size() - 2) + 1;
  const std::string_view last = text.substr(endLine, text.size() - 1 - endLine);
  unsigned long long keys = 0;
  unsigned crc = 0;
  char tail = 0;
  if (!last.starts_with(kEnd) ||
      std::sscanf(std::string(last).c_str(), "#END %llu %8x%c", &keys, &crc, &tail) != 2)
    return "no end marker: the file is truncated";
  if (Crc32(text.substr(0, endLine)) != crc) return "checksum mismatch: the file is damaged";
  Node* current = nullptr;
  size_t lineNo = 1, count = 0;
  size_t at = kHeader.size();
  while (at < endLine) {
    const size_t nl = text.find('\n', at);
    const std::string_view line = text.substr(at, nl - at);
    ++lineNo;
    bool ok;
    if (line.starts_with("[")) {
      ok = ParseKeyLine(line, t, current);
      ++count;
    } else {
      ok = ParseValueLine(line, current);
    }
    if (!ok) return "line " + std::to_string(lineNo) + " is malformed";
    at = nl + 1;
  }
  if (count != keys) return "key count does not match the end marker";
  return {};
}

// --- the file --------------------------------------------------------------------------------

std::string ResolvePath() {
  if (const char* f = std::getenv("QX_REGISTRY_FILE"); f && *f) return f;
  if (const char* x = std::getenv("XDG_CONFIG_HOME"); x && *x == '/') return std::string(x) + "/qxppack1/registry";
  const char* home = std::getenv("HOME");
  if (!home || !*home) {
    const passwd* pw = getpwuid(getuid());
    home = pw ? pw->pw_dir : nullptr;
  }
  if (!home || !*home) return {};
  return std::string(home) + "/.config/qxppack1/registry";
}

std::string DirOf(const std::string& path) {
  const size_t slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

std::string Describe(const std::string& path, const std::string& what) {
  return "qx registry: " + path + ": " + what;
}

LONG MakeDirs(const std::string& dir) {
  struct stat st;
  if (stat(dir.c_str(), &st) == 0) return S_ISDIR(st.st_mode) ? ERROR_SUCCESS : ERROR_PATH_NOT_FOUND;
  if (dir != "/" && dir != ".") {
    if (LONG rc = MakeDirs(DirOf(dir)); rc != ERROR_SUCCESS) return rc;
  }
  if (mkdir(dir.c_str(), 0700) != 0 && errno != EEXIST) return ERROR_PATH_NOT_FOUND;
  return ERROR_SUCCESS;
}

// Reads and checks the file. A missing file is an empty registry.
LONG Load(const std::string& path, Tree& t) {
  if (path.empty()) return Fail(ERROR_PATH_NOT_FOUND, "qx registry: no location for the registry file (set QX_REGISTRY_FILE or HOME)");
  const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) {
    if (errno == ENOENT) return ERROR_SUCCESS;
    return Fail(ERROR_REGISTRY_IO_FAILED, Describe(path, std::string("cannot open: ") + std::strerror(errno)));
  }
  std::string text;
  char buf[65536];
  while (true) {
    const ssize_t n = read(fd, buf, sizeof buf);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) {
      const int e = errno;
      close(fd);
      return Fail(ERROR_REGISTRY_IO_FAILED, Describe(path, std::string("cannot read: ") + std::strerror(e)));
    }
    if (n == 0) break;
    text.append(buf, static_cast<size_t>(n));
  }
  close(fd);
  const std::string why = Parse(text, t);
  if (!why.empty())
    return Fail(ERROR_REGISTRY_CORRUPT,
                Describe(path, "corrupt registry file (" + why + "); it is left untouched and no change is written "
                               "until it is repaired or removed"));
  return ERROR_SUCCESS;
}

bool WriteAll(int fd, std::string_view s) {
  while (!s.empty()) {
    const ssize_t n = write(fd, s.data(), s.size());
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    s.remove_prefix(static_cast<size_t>(n));
  }
  return true;
}

// Replaces the file by a new one written beside it, so a reader sees the old or the new file whole.
LONG Store(const std::string& path, const Tree& t) {
  const std::string text = Serialize(t);
  std::string tmp = path + ".XXXXXX";
  const int fd = mkstemp(tmp.data());
  if (fd < 0) return Fail(ERROR_REGISTRY_IO_FAILED, Describe(tmp, std::string("cannot create: ") + std::strerror(errno)));
  const bool ok = WriteAll(fd, text) && fsync(fd) == 0;
  const int e = errno;
  close(fd);
  if (!ok || rename(tmp.c_str(), path.c_str()) != 0) {
    const int e2 = ok ? errno : e;
    unlink(tmp.c_str());
    return Fail(ERROR_REGISTRY_IO_FAILED, Describe(path, std::string("cannot write: ") + std::strerror(e2)));
  }
  if (const int dfd = open(DirOf(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); dfd >= 0) {
    fsync(dfd);
    close(dfd);
  }
  return ERROR_SUCCESS;
}

// The file's lock, held by one thread of this process at a time, and taken again by the same
// thread without waiting, so that a batch of calls and the transactions inside it nest.
std::recursive_mutex g_fileLock;
int g_lockFd = -1;
int g_lockDepth = 0;
// How long a writer waits for another process's change or batch before it gives up.
constexpr auto kLockWait = std::chrono::seconds(60);

LONG AcquireFileLock(const std::string& path) {
  if (path.empty())
    return Fail(ERROR_PATH_NOT_FOUND, "qx registry: no location for the registry file (set QX_REGISTRY_FILE or HOME)");
  g_fileLock.lock();
  if (g_lockDepth > 0) {
    ++g_lockDepth;
    return ERROR_SUCCESS;
  }
  auto fail = [](LONG rc) {
    g_fileLock.unlock();
    return rc;
  };
  if (MakeDirs(DirOf(path)) != ERROR_SUCCESS)
    return fail(Fail(ERROR_REGISTRY_IO_FAILED, Describe(DirOf(path), "cannot create the directory")));
  const std::string lockPath = path + ".lock";
  const int lock = open(lockPath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  if (lock < 0)
    return fail(Fail(ERROR_REGISTRY_IO_FAILED, Describe(lockPath, std::string("cannot open: ") + std::strerror(errno))));
  const auto deadline = std::chrono::steady_clock::now() + kLockWait;
  auto pause = std::chrono::milliseconds(1);
  while (flock(lock, LOCK_EX | LOCK_NB) != 0) {
    const int e = errno;
    if (e == EINTR) continue;
    if (e != EWOULDBLOCK || std::chrono::steady_clock::now() >= deadline) {
      close(lock);
      return fail(Fail(ERROR_REGISTRY_IO_FAILED,
                       Describe(lockPath, e == EWOULDBLOCK ? "another process has held the lock for a minute"
                                                           : std::string("cannot lock: ") + std::strerror(e))));
    }
    std::this_thread::sleep_for(pause);
    pause = std::min(pause * 2, std::chrono::milliseconds(20));
  }
  g_lockFd = lock;
  g_lockDepth = 1;
  return ERROR_SUCCESS;
}

void ReleaseFileLock() {
  if (--g_lockDepth == 0) {
    close(g_lockFd);  // releases the lock
    g_lockFd = -1;
  }
  g_fileLock.unlock();
}

// One change: lock, re-read, apply, replace. `change(tree, changed)` answers a code and sets
// `changed` when the file must be written.
template <class F>
LONG Transact(F&& change) {
  const std::string path = ResolvePath();
  if (LONG rc = AcquireFileLock(path); rc != ERROR_SUCCESS) return rc;
  LONG rc;
  try {
    auto tree = std::make_unique<Tree>();
    rc = Load(path, *tree);
    if (rc == ERROR_SUCCESS) {
      bool changed = false;
      rc = change(*tree, changed);
      if (rc == ERROR_SUCCESS && changed) rc = Store(path, *tree);
    }
  } catch (const std::bad_alloc&) {
    rc = FailCode(ERROR_NOT_ENOUGH_MEMORY);
  }
  ReleaseFileLock();
  return rc;
}

// A read-only look at the current file.
template <class F>
LONG Read(F&& look) {
  try {
    auto tree = std::make_unique<Tree>();
    if (LONG rc = Load(ResolvePath(), *tree); rc != ERROR_SUCCESS) return rc;
    return look(*tree);
  } catch (const std::bad_alloc&) {
    return FailCode(ERROR_NOT_ENOUGH_MEMORY);
  }
}

// --- handles ---------------------------------------------------------------------------------

struct KeyRef {
  int root = 0;
  std::vector<std::u16string> path;
  REGSAM sam = KEY_ALL_ACCESS;
};

}  // namespace

struct HKEY__ {
  KeyRef ref;
};

namespace {

std::mutex g_handleLock;
std::unordered_set<HKEY__*>& Handles() {
  static auto* set = new std::unordered_set<HKEY__*>();  // outlives static destruction
  return *set;
}

int RootIndex(HKEY key) {
  const auto v = reinterpret_cast<uintptr_t>(key);
  return v >= 0x80000000u && v < 0x80000000u + kRootCount ? static_cast<int>(v - 0x80000000u) : -1;
}

LONG Resolve(HKEY key, KeyRef& out) {
  if (const int r = RootIndex(key); r >= 0) {
    out = KeyRef{r, {}, KEY_ALL_ACCESS};
    return ERROR_SUCCESS;
  }
  std::lock_guard<std::mutex> g(g_handleLock);
  if (!key || !Handles().count(key)) return FailCode(ERROR_INVALID_HANDLE);
  out = key->ref;
  return ERROR_SUCCESS;
}

REGSAM Rights(REGSAM sam) {
  return (sam & MAXIMUM_ALLOWED) ? KEY_ALL_ACCESS : (sam & ~(KEY_WOW64_64KEY | KEY_WOW64_32KEY));
}

LONG NewHandle(KeyRef ref, PHKEY result) {
  auto* h = new (std::nothrow) HKEY__{std::move(ref)};
  if (!h) return FailCode(ERROR_NOT_ENOUGH_MEMORY);
  std::lock_guard<std::mutex> g(g_handleLock);
  Handles().insert(h);
  *result = h;
  return ERROR_SUCCESS;
}

// The key a handle names, plus a subkey path.
LONG Target(HKEY key, LPCWSTR subKey, KeyRef& ref) {
  if (LONG rc = Resolve(key, ref); rc != ERROR_SUCCESS) return rc;
  std::vector<std::u16string> sub;
  if (LONG rc = SplitPath(subKey, sub); rc != ERROR_SUCCESS) return FailCode(rc);
  for (auto& s : sub) ref.path.push_back(std::move(s));
  return ERROR_SUCCESS;
}

LONG CheckRight(const KeyRef& ref, REGSAM right) {
  return (ref.sam & right) == right ? ERROR_SUCCESS : FailCode(ERROR_ACCESS_DENIED);
}

}  // namespace

LONG RegCreateKeyExW(HKEY key, LPCWSTR subKey, DWORD, LPWSTR, DWORD, REGSAM sam, const void*, PHKEY result,
                     LPDWORD disposition) {
  if (!result) return FailCode(ERROR_INVALID_PARAMETER);
  KeyRef parent;
  if (LONG rc = Resolve(key, parent); rc != ERROR_SUCCESS) return rc;
  KeyRef ref = parent;
  if (LONG rc = Target(key, subKey, ref); rc != ERROR_SUCCESS) return rc;
  const size_t base = parent.path.size();

  // Most calls open a key that is there already: no transaction for those.
  bool exists = false;
  LONG rc = Read([&](Tree& t) {
    exists = t.Walk(ref.root, ref.path) != nullptr;
    return ERROR_SUCCESS;
  });
  if (rc != ERROR_SUCCESS) return rc;
  bool created = false;
  if (!exists) {
    rc = Transact([&](Tree& t, bool& changed) -> LONG {
      Node* n = t.Walk(ref.root, parent.path);
      if (!n) return FailCode(ERROR_KEY_DELETED);
      for (size_t i = base; i < ref.path.size(); ++i) {
        Node* k = n->Find(ref.path[i]);
        if (!k) {
          if (LONG r = CheckRight(parent, KEY_CREATE_SUB_KEY); r != ERROR_SUCCESS) return r;
          k = n->Add(ref.path[i]);
          changed = created = true;
        }
        n = k;
      }
      return ERROR_SUCCESS;
    });
    if (rc != ERROR_SUCCESS) return rc;
  }
  ref.sam = Rights(sam);
  if (disposition) *disposition = created ? REG_CREATED_NEW_KEY : REG_OPENED_EXISTING_KEY;
  return NewHandle(std::move(ref), result);
}

LONG RegCreateKeyW(HKEY key, LPCWSTR subKey, PHKEY result) {
  return RegCreateKeyExW(key, subKey, 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_ALL_ACCESS, nullptr, result, nullptr);
}

LONG RegOpenKeyExW(HKEY key, LPCWSTR subKey, DWORD, REGSAM sam, PHKEY result) {
  if (!result) return FailCode(ERROR_INVALID_PARAMETER);
  KeyRef ref;
  if (LONG rc = Target(key, subKey, ref); rc != ERROR_SUCCESS) return rc;
  LONG rc = Read([&](Tree& t) { return t.Walk(ref.root, ref.path) ? ERROR_SUCCESS : FailCode(ERROR_FILE_NOT_FOUND); });
  if (rc != ERROR_SUCCESS) return rc;
  ref.sam = Rights(sam);
  return NewHandle(std::move(ref), result);
}

LONG RegOpenKeyW(HKEY key, LPCWSTR subKey, PHKEY result) {
  return RegOpenKeyExW(key, subKey, 0, KEY_ALL_ACCESS, result);
}

LONG RegCloseKey(HKEY key) {
  if (RootIndex(key) >= 0) return ERROR_SUCCESS;
  {
    std::lock_guard<std::mutex> g(g_handleLock);
    if (!key || Handles().erase(key) == 0) return FailCode(ERROR_INVALID_HANDLE);
  }
  delete key;
  return ERROR_SUCCESS;
}

LONG RegDeleteKeyW(HKEY key, LPCWSTR subKey) {
  if (!subKey) return FailCode(ERROR_INVALID_PARAMETER);
  KeyRef ref;
  if (LONG rc = Target(key, subKey, ref); rc != ERROR_SUCCESS) return rc;
  if (ref.path.empty()) return FailCode(ERROR_ACCESS_DENIED);
  return Transact([&](Tree& t, bool& changed) -> LONG {
    const std::u16string leaf = ref.path.back();
    ref.path.pop_back();
    Node* parent = t.Walk(ref.root, ref.path);
    Node* n = parent ? parent->Find(leaf) : nullptr;
    if (!n) return FailCode(ERROR_FILE_NOT_FOUND);
    if (!n->kids.empty()) return FailCode(ERROR_ACCESS_DENIED);
    parent->kids.erase(std::find_if(parent->kids.begin(), parent->kids.end(),
                                    [&](const std::unique_ptr<Node>& k) { return k.get() == n; }));
    changed = true;
    return ERROR_SUCCESS;
  });
}

LONG RegDeleteTreeW(HKEY key, LPCWSTR subKey) {
  KeyRef ref;
  if (LONG rc = Target(key, subKey, ref); rc != ERROR_SUCCESS) return rc;
  const bool self = View(subKey).empty();
  return Transact([&](Tree& t, bool& changed) -> LONG {
    if (self) {
      Node* n = t.Walk(ref.root, ref.path);
      if (!n) return FailCode(ERROR_KEY_DELETED);
      changed = !n->kids.empty() || !n->values.empty();
      n->kids.clear();
      n->values.clear();
      return ERROR_SUCCESS;
    }
    const std::u16string leaf = ref.path.back();
    ref.path.pop_back();
    Node* parent = t.Walk(ref.root, ref.path);
    Node* n = parent ? parent->Find(leaf) : nullptr;
    if (!n) return FailCode(ERROR_FILE_NOT_FOUND);
    parent->kids.erase(std::find_if(parent->kids.begin(), parent->kids.end(),
                                    [&](const std::unique_ptr<Node>& k) { return k.get() == n; }));
    changed = true;
    return ERROR_SUCCESS;
  });
}

LONG RegSetValueExW(HKEY key, LPCWSTR valueName, DWORD, DWORD type, const BYTE* data, DWORD cbData) {
  KeyRef ref;
  if (LONG rc = Resolve(key, ref); rc != ERROR_SUCCESS) return rc;
  if (LONG rc = CheckRight(ref, KEY_SET_VALUE); rc != ERROR_SUCCESS) return rc;
  if ((!data && cbData) || (type == REG_DWORD && cbData != 4)) return FailCode(ERROR_INVALID_PARAMETER);
  Value v;
  v.name = std::u16string(View(valueName));
  v.type = type;
  if (IsTextType(type)) {
    std::u16string text(cbData / 2, u'\0');
    if (!text.empty()) std::memcpy(text.data(), data, text.size() * 2);
    const size_t nul = text.find(u'\0');
    if (nul != text.npos) text.resize(nul);
    v.data = TextData(text);
  } else if (cbData) {
    v.data.assign(data, data + cbData);
  }
  return Transact([&](Tree& t, bool& changed) -> LONG {
    Node* n = t.Walk(ref.root, ref.path);
    if (!n) return FailCode(ERROR_KEY_DELETED);
    if (Value* old = n->FindValue(v.name)) {
      changed = old->type != v.type || old->data != v.data;
      old->type = v.type;
      old->data = v.data;
    } else {
      n->values.push_back(v);
      changed = true;
    }
    return ERROR_SUCCESS;
  });
}

LONG RegQueryValueExW(HKEY key, LPCWSTR valueName, LPDWORD, LPDWORD type, LPBYTE data, LPDWORD cbData) {
  KeyRef ref;
  if (LONG rc = Resolve(key, ref); rc != ERROR_SUCCESS) return rc;
  if (LONG rc = CheckRight(ref, KEY_QUERY_VALUE); rc != ERROR_SUCCESS) return rc;
  if (data && !cbData) return FailCode(ERROR_INVALID_PARAMETER);
  return Read([&](Tree& t) -> LONG {
    Node* n = t.Walk(ref.root, ref.path);
    if (!n) return FailCode(ERROR_KEY_DELETED);
    const Value* v = n->FindValue(View(valueName));
    if (!v) return FailCode(ERROR_FILE_NOT_FOUND);
    if (type) *type = v->type;
    const auto size = static_cast<DWORD>(v->data.size());
    if (!cbData) return ERROR_SUCCESS;
    if (data && *cbData < size) {
      *cbData = size;
      return FailCode(ERROR_MORE_DATA);
    }
    if (data && size) std::memcpy(data, v->data.data(), size);
    *cbData = size;
    return ERROR_SUCCESS;
  });
}

LONG RegDeleteValueW(HKEY key, LPCWSTR valueName) {
  KeyRef ref;
  if (LONG rc = Resolve(key, ref); rc != ERROR_SUCCESS) return rc;
  if (LONG rc = CheckRight(ref, KEY_SET_VALUE); rc != ERROR_SUCCESS) return rc;
  return Transact([&](Tree& t, bool& changed) -> LONG {
    Node* n = t.Walk(ref.root, ref.path);
    if (!n) return FailCode(ERROR_KEY_DELETED);
    const Value* v = n->FindValue(View(valueName));
    if (!v) return FailCode(ERROR_FILE_NOT_FOUND);
    n->values.erase(n->values.begin() + (v - n->values.data()));
    changed = true;
    return ERROR_SUCCESS;
  });
}

LONG RegEnumKeyExW(HKEY key, DWORD index, LPWSTR name, LPDWORD cchName, LPDWORD, LPWSTR className,
                   LPDWORD cchClass, FILETIME* lastWriteTime) {
  KeyRef ref;
  if (LONG rc = Resolve(key, ref); rc != ERROR_SUCCESS) return rc;
  if (LONG rc = CheckRight(ref, KEY_ENUMERATE_SUB_KEYS); rc != ERROR_SUCCESS) return rc;
  if (!name || !cchName) return FailCode(ERROR_INVALID_PARAMETER);
  return Read([&](Tree& t) -> LONG {
    Node* n = t.Walk(ref.root, ref.path);
    if (!n) return FailCode(ERROR_KEY_DELETED);
    if (index >= n->kids.size()) return FailCode(ERROR_NO_MORE_ITEMS);
    const std::u16string& k = n->kids[index]->name;
    if (*cchName <= k.size()) {
      *cchName = static_cast<DWORD>(k.size() + 1);
      return FailCode(ERROR_MORE_DATA);
    }
    std::memcpy(name, k.data(), k.size() * 2);
    name[k.size()] = u'\0';
    *cchName = static_cast<DWORD>(k.size());
    if (className && cchClass && *cchClass) className[0] = u'\0';
    if (cchClass) *cchClass = 0;
    if (lastWriteTime) *lastWriteTime = FILETIME{0, 0};
    return ERROR_SUCCESS;
  });
}

LONG QxRegistry_BeginBatch() { return AcquireFileLock(ResolvePath()); }
void QxRegistry_EndBatch() { ReleaseFileLock(); }

const char* QxRegistry_LastError() { return t_lastError; }
LONG QxRegistry_LastErrorCode() { return t_lastCode; }
std::string QxRegistry_FilePath() { return ResolvePath(); }
