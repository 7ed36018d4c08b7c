#include "foundation/command_line.h"

namespace nv {

std::wstring quote_argument(const std::wstring& text) {
  std::wstring result = L"\"";
  std::size_t backslashes = 0;
  for (wchar_t c : text) {
    if (c == L'\\') {
      ++backslashes;
    } else if (c == L'"') {
      result.append(2 * backslashes + 1, L'\\');
      result += c;
      backslashes = 0;
    } else {
      result.append(backslashes, L'\\');
      result += c;
      backslashes = 0;
    }
  }
  result.append(2 * backslashes, L'\\');
  result += L'"';
  return result;
}

}  // namespace nv
