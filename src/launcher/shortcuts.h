#pragma once
#include <string>

namespace nv {

void remove_shortcuts(const std::wstring& root);

}  // namespace nv
