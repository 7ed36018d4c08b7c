#include "platform/system.h"

#include <unistd.h>

#include <chrono>
#include <ctime>

#include "platform/portable/file_status.h"
#include "platform/portable/native_path.h"

extern char** environ;

namespace nv::platform {

std::wstring module_path() { return {}; }
std::vector<std::wstring> command_arguments() { return {}; }
void com_initialize() {}

std::uint64_t system_time() {
  const auto since_1970 = std::chrono::system_clock::now().time_since_epoch();
  return portable::filetime_of_1970 +
         static_cast<std::uint64_t>(
             std::chrono::duration_cast<std::chrono::nanoseconds>(since_1970).count() / 100);
}

std::uint32_t current_process_id() { return static_cast<std::uint32_t>(::getpid()); }

UtcTime utc_time() {
  const std::time_t now = std::time(nullptr);
  std::tm parts{};
  gmtime_r(&now, &parts);
  return {static_cast<unsigned>(parts.tm_year + 1900), static_cast<unsigned>(parts.tm_mon + 1),
          static_cast<unsigned>(parts.tm_mday),        static_cast<unsigned>(parts.tm_hour),
          static_cast<unsigned>(parts.tm_min),         static_cast<unsigned>(parts.tm_sec)};
}

std::uint16_t native_machine() {
#if defined(__x86_64__)
  return 0x8664;
#elif defined(__aarch64__)
  return 0xAA64;
#else
  return 0;
#endif
}
void com_uninitialize() {}

std::wstring environment_block() {
  std::wstring block;
  for (char** entry = environ; entry && *entry; ++entry) {
    block += portable::widen(*entry);
    block += L'\0';
  }
  if (block.empty()) return {};
  block += L'\0';
  return block;
}

// The splitting rules of CommandLineToArgvW: the first word is a program name
// (quotes group, nothing escapes); after it, blanks separate, 2n backslashes
// before a quote give n and the quote toggles quoting, 2n+1 give n and a literal
// quote, and inside quotes a doubled quote is a literal quote.
std::optional<std::vector<std::wstring>> split_command_line(const std::wstring& text) {
  std::vector<std::wstring> args;
  std::size_t i = 0;
  const std::size_t n = text.size();
  std::wstring word;
  if (i < n && text[i] == L'"') {
    ++i;
    while (i < n && text[i] != L'"') word += text[i++];
    if (i < n) ++i;
  } else {
    while (i < n && text[i] != L' ' && text[i] != L'\t') word += text[i++];
  }
  args.push_back(word);
  while (i < n && (text[i] == L' ' || text[i] == L'\t')) ++i;
  if (i >= n) return args;

  word.clear();
  bool in_word = false;
  int quotes = 0;
  std::size_t backslashes = 0;
  while (i < n) {
    wchar_t c = text[i];
    if ((c == L' ' || c == L'\t') && quotes == 0) {
      word.append(backslashes, L'\\');
      backslashes = 0;
      if (in_word) args.push_back(word);
      word.clear();
      in_word = false;
      while (i < n && (text[i] == L' ' || text[i] == L'\t')) ++i;
      continue;
    }
    in_word = true;
    if (c == L'\\') {
      ++backslashes;
      ++i;
      continue;
    }
    if (c == L'"') {
      word.append(backslashes / 2, L'\\');
      if (backslashes % 2 == 0) {
        ++quotes;
      } else {
        word += L'"';
      }
      backslashes = 0;
      ++i;
      while (i < n && text[i] == L'"') {
        if (++quotes == 3) {
          word += L'"';
          quotes = 0;
        }
        ++i;
      }
      if (quotes == 2) quotes = 0;
      continue;
    }
    word.append(backslashes, L'\\');
    backslashes = 0;
    word += c;
    ++i;
  }
  word.append(backslashes, L'\\');
  if (in_word) args.push_back(word);
  return args;
}

}  // namespace nv::platform
