#pragma once
// Switches for the embedded browser.
#include <string>

#include "foundation/command_line.h"

namespace nv {

std::wstring merge_browser_arguments(const std::wstring& existing);
void filter_feature_list(const std::wstring& list, std::wstring& destination);

}  // namespace nv
