// Module handles and string-table resources built in memory: code registers numbered strings per
// language, satellite files are parsed into the same shape, and lookups follow the block rule.
#include "kernel/services/qx_resources.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <shared_mutex>
#include <sstream>
#include <string>
#include <unordered_set>
#include <vector>

#include "platform/registry/utf.h"

struct HRSRC__ {
  LANGID lang;
  WORD number;
  std::vector<WCHAR> data;
};

struct HINSTANCE__ {
  std::string path;
  std::map<std::pair<LANGID, UINT>, std::u16string> strings;
  std::map<std::pair<LANGID, WORD>, std::unique_ptr<HRSRC__>> blocks;
  std::vector<std::unique_ptr<HRSRC__>> retired;  // replaced blocks: earlier pointers stay valid
};

namespace {

// One lock for the set of modules and their contents: tables are added at start-up and read after.
std::shared_mutex& Lock() {
  static auto* m = new std::shared_mutex();
  return *m;
}
std::unordered_set<HINSTANCE__*>& Modules() {
  static auto* s = new std::unordered_set<HINSTANCE__*>();
  return *s;
}
bool Known(HMODULE m) { return m && Modules().count(m) != 0; }

// Rebuilds block `number` of one language from the module's strings.
void BuildBlock(HINSTANCE__* m, LANGID lang, WORD number) {
  auto block = std::make_unique<HRSRC__>();
  block->lang = lang;
  block->number = number;
  for (UINT i = 0; i < 16; ++i) {
    const UINT id = (number - 1u) * 16u + i;
    auto it = m->strings.find({lang, id});
    if (it == m->strings.end() || it->second.empty()) {
      block->data.push_back(0);
      continue;
    }
    const std::u16string& s = it->second;
    block->data.push_back(static_cast<WCHAR>(s.size() + 1));
    block->data.insert(block->data.end(), s.begin(), s.end());
    block->data.push_back(0);
  }
  auto& slot = m->blocks[{lang, number}];
  if (slot) m->retired.push_back(std::move(slot));
  slot = std::move(block);
}

HRSRC FindBlock(HINSTANCE__* m, LANGID lang, WORD number) {
  auto it = m->blocks.find({lang, number});
  return it == m->blocks.end() ? nullptr : it->second.get();
}

bool ParseEscapes(std::string_view in, std::u16string& out) {
  std::string plain;
  out.clear();
  auto flush = [&]() -> bool {
    std::u16string part;
    if (!QxUtf8ToUtf16(plain, part)) return false;
    out += part;
    plain.clear();
    return true;
  };
  for (size_t i = 0; i < in.size(); ++i) {
    if (in[i] != '\\') {
      plain += in[i];
      continue;
    }
    if (++i >= in.size()) return false;
    switch (in[i]) {
      case '\\': plain += '\\'; break;
      case 'n': plain += '\n'; break;
      case 'r': plain += '\r'; break;
      case 't': plain += '\t'; break;
      case 'u': {
        if (i + 4 >= in.size()) return false;
        unsigned v = 0;
        for (int k = 1; k <= 4; ++k) {
          const char c = in[i + k];
          const int d = c >= '0' && c <= '9' ? c - '0' : c >= 'a' && c <= 'f' ? c - 'a' + 10 : c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
          if (d < 0) return false;
          v = v * 16 + static_cast<unsigned>(d);
        }
        if (!flush()) return false;
        out += static_cast<char16_t>(v);
        i += 4;
        break;
      }
      default: return false;
    }
  }
  return flush();
}

}  // namespace

HMODULE QxResources_CreateModule(const char* path) {
  auto* m = new (std::nothrow) HINSTANCE__();
  if (!m) return nullptr;
  try {
    m->path = path ? path : "";
    std::unique_lock<std::shared_mutex> g(Lock());
    Modules().insert(m);
  } catch (...) {
    delete m;
    return nullptr;
  }
  return m;
}

HRESULT QxResources_AddStringTable(HMODULE module, LANGID lang, const QxStringTableEntry* entries, size_t count) {
  if (count && !entries) return E_POINTER;
  std::unique_lock<std::shared_mutex> g(Lock());
  if (!Known(module)) return E_INVALIDARG;
  for (size_t i = 0; i < count; ++i)
    if (entries[i].id > 0xFFFF) return E_INVALIDARG;
  try {
    std::vector<WORD> touched;
    for (size_t i = 0; i < count; ++i) {
      module->strings[{lang, entries[i].id}] = entries[i].text ? entries[i].text : u"";
      touched.push_back(static_cast<WORD>(entries[i].id / 16 + 1));
    }
    std::sort(touched.begin(), touched.end());
    touched.erase(std::unique(touched.begin(), touched.end()), touched.end());
    for (WORD b : touched) BuildBlock(module, lang, b);
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
  return S_OK;
}

HMODULE QxResources_LoadDataFile(const char* path) {
  if (!path) return nullptr;
  std::ifstream in(path, std::ios::binary);
  if (!in) return nullptr;
  std::stringstream ss;
  ss << in.rdbuf();
  std::string text = ss.str();
  if (text.starts_with("\xEF\xBB\xBF")) text.erase(0, 3);

  std::map<LANGID, std::vector<std::pair<UINT, std::u16string>>> tables;
  bool header = false, haveLang = false;
  LANGID lang = 0;
  size_t at = 0;
  while (at < text.size()) {
    size_t nl = text.find('\n', at);
    if (nl == std::string::npos) nl = text.size();
    std::string_view line(text.data() + at, nl - at);
    at = nl + 1;
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    if (!header) {
      if (line != "QXLNG 1") return nullptr;
      header = true;
      continue;
    }
    if (line.empty() || line[0] == '#' || line[0] == ';') continue;
    if (line[0] == '[') {
      if (line.size() < 3 || line.back() != ']') return nullptr;
      std::string_view hex = line.substr(1, line.size() - 2);
      if (hex.starts_with("0x") || hex.starts_with("0X")) hex.remove_prefix(2);
      if (hex.empty() || hex.size() > 4) return nullptr;
      unsigned v = 0;
      for (char c : hex) {
        const int d = c >= '0' && c <= '9' ? c - '0' : c >= 'a' && c <= 'f' ? c - 'a' + 10 : c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
        if (d < 0) return nullptr;
        v = v * 16 + static_cast<unsigned>(d);
      }
      lang = static_cast<LANGID>(v);
      haveLang = true;
      continue;
    }
    const size_t eq = line.find('=');
    if (!haveLang || eq == std::string_view::npos || eq == 0 || eq > 5) return nullptr;
    UINT id = 0;
    for (char c : line.substr(0, eq)) {
      if (c < '0' || c > '9') return nullptr;
      id = id * 10 + static_cast<UINT>(c - '0');
    }
    if (id > 0xFFFF) return nullptr;
    std::u16string value;
    if (!ParseEscapes(line.substr(eq + 1), value)) return nullptr;
    tables[lang].emplace_back(id, std::move(value));
  }
  if (!header) return nullptr;

  HMODULE m = QxResources_CreateModule(path);
  if (!m) return nullptr;
  for (const auto& [l, rows] : tables) {
    std::vector<QxStringTableEntry> entries;
    entries.reserve(rows.size());
    for (const auto& [id, s] : rows) entries.push_back({id, s.c_str()});
    if (FAILED(QxResources_AddStringTable(m, l, entries.data(), entries.size()))) {
      QxResources_FreeModule(m);
      return nullptr;
    }
  }
  return m;
}

void QxResources_FreeModule(HMODULE module) {
  {
    std::unique_lock<std::shared_mutex> g(Lock());
    if (!Known(module)) return;
    Modules().erase(module);
  }
  delete module;
}

const char* QxResources_GetModulePath(HMODULE module) {
  std::shared_lock<std::shared_mutex> g(Lock());
  return Known(module) ? module->path.c_str() : "";
}

HRSRC FindResourceExW(HMODULE module, LPCWSTR type, LPCWSTR name, WORD language) {
  if (type != RT_STRING || !IS_INTRESOURCE(name)) return nullptr;
  const auto number = static_cast<WORD>(reinterpret_cast<uintptr_t>(name));
  std::shared_lock<std::shared_mutex> g(Lock());
  if (!Known(module)) return nullptr;
  if (language != LANG_NEUTRAL) return FindBlock(module, language, number);
  if (HRSRC r = FindBlock(module, LANG_NEUTRAL, number)) return r;
  if (HRSRC r = FindBlock(module, QX_LANGID_ENGLISH_US, number)) return r;
  for (const auto& [key, block] : module->blocks)
    if (key.second == number) return block.get();
  return nullptr;
}

HGLOBAL LoadResource(HMODULE, HRSRC resource) { return resource ? resource->data.data() : nullptr; }

void* LockResource(HGLOBAL data) { return data; }

DWORD SizeofResource(HMODULE, HRSRC resource) {
  return resource ? static_cast<DWORD>(resource->data.size() * sizeof(WCHAR)) : 0;
}

bool QxResources_StringInBlock(const void* block, DWORD blockBytes, UINT id, const WCHAR** text, WORD* count) {
  if (!block) return false;
  const auto* p = static_cast<const WCHAR*>(block);
  const size_t units = blockBytes / sizeof(WCHAR);
  size_t at = 0;
  for (UINT i = 0; i < id % 16; ++i) {
    if (at >= units) return false;
    at += 1u + p[at];
  }
  if (at >= units || at + 1u + p[at] > units) return false;
  if (text) *text = p + at + 1;
  if (count) *count = p[at];
  return true;
}

int LoadStringW(HINSTANCE module, UINT id, LPWSTR buffer, int bufferMax) {
  if (!buffer || bufferMax < 0) return 0;
  if (bufferMax > 0) buffer[0] = 0;
  if (id > 0xFFFF) return 0;
  HRSRC r = FindResourceExW(module, RT_STRING, MAKEINTRESOURCEW(id / 16 + 1), LANG_NEUTRAL);
  const WCHAR* text = nullptr;
  WORD count = 0;
  if (!r || !QxResources_StringInBlock(LockResource(LoadResource(module, r)), SizeofResource(module, r), id, &text,
                                       &count))
    return 0;
  int len = 0;
  while (len < count && text[len]) ++len;
  if (bufferMax == 0) {
    *reinterpret_cast<const WCHAR**>(buffer) = text;
    return len;
  }
  const int n = std::min(len, bufferMax - 1);
  if (n > 0) std::memcpy(buffer, text, static_cast<size_t>(n) * sizeof(WCHAR));
  buffer[n] = 0;
  return n;
}
