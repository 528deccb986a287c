// UTF-16 <-> UTF-8 conversion for text stored in files (the registry file, satellite string tables).
// Lone surrogates survive a round trip (encoded as three-byte sequences), so no name is ever lost.
#pragma once
#include <string>
#include <string_view>

// Never fails.
std::string QxUtf16ToUtf8(std::u16string_view text);
// false on malformed input (bad lead or continuation bytes, overlong forms, values above U+10FFFF).
bool QxUtf8ToUtf16(std::string_view text, std::u16string& out);
