#pragma once
// The one writer of a command-line argument, for every program the launcher starts.
#include <string>

namespace nv {

// Always quoted, so that CommandLineToArgvW reads back exactly `text`.
std::wstring quote_argument(const std::wstring& text);

}  // namespace nv
