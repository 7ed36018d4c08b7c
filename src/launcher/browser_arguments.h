#pragma once
// Switches for the embedded browser, and the one writer of a quoted argument.
#include <string>

namespace nv {

std::wstring merge_browser_arguments(const std::wstring& existing);
void filter_feature_list(const std::wstring& list, std::wstring& destination);
std::wstring quote_argument(const std::wstring& text);

}  // namespace nv
