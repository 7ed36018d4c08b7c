#include "launcher/browser_arguments.h"

#include <vector>

#include "foundation/failure.h"
#include "platform/system.h"

namespace nv {
namespace {

const std::wstring enable_prefix = L"--enable-features=";
const std::wstring disable_prefix = L"--disable-features=";
const std::wstring force_dark_feature = L"WebContentsForceDark";

bool starts_with(const std::wstring& text, const std::wstring& prefix) {
  return text.compare(0, prefix.size(), prefix) == 0;
}

}  // namespace

void filter_feature_list(const std::wstring& list, std::wstring& destination) {
  std::size_t start = 0;
  for (;;) {
    const std::size_t comma = list.find(L',', start);
    const std::wstring token =
        list.substr(start, comma == std::wstring::npos ? std::wstring::npos : comma - start);
    const std::wstring name = token.substr(0, token.find_first_of(L":<"));
    if (!token.empty() && name != force_dark_feature) {
      if (!destination.empty()) destination += L',';
      destination += token;
    }
    if (comma == std::wstring::npos || comma + 1 == list.size()) break;
    start = comma + 1;
  }
}

std::wstring merge_browser_arguments(const std::wstring& existing) {
  // The made-up program name keeps the tokenizer's first-word rules away from the switches.
  auto split = platform::split_command_line(L"webview " + existing);
  if (!split) fail(failure::browser_arguments);
  std::vector<std::wstring> other;
  std::wstring enabled, disabled;
  for (std::size_t i = 1; i < split->size(); ++i) {
    const std::wstring& argument = (*split)[i];
    if (starts_with(argument, enable_prefix)) {
      filter_feature_list(argument.substr(enable_prefix.size()), enabled);
    } else if (starts_with(argument, disable_prefix)) {
      filter_feature_list(argument.substr(disable_prefix.size()), disabled);
    } else {
      other.push_back(argument);
    }
  }
  if (!enabled.empty()) enabled += L',';
  enabled += force_dark_feature;
  other.push_back(enable_prefix + enabled);
  if (!disabled.empty()) other.push_back(disable_prefix + disabled);
  std::wstring result;
  for (const auto& argument : other) {
    if (!result.empty()) result += L' ';
    result += quote_argument(argument);
  }
  return result;
}

}  // namespace nv
