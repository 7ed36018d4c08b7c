#pragma once
// The native build sees the disk the way Wine shows it to a Windows program:
// drive Z: is the Unix root and both separators work. Tests can then name the
// same paths in both builds.
#include <filesystem>
#include <string>

namespace nv::platform::portable {

std::string narrow(const std::wstring& text);  // UTF-8
std::wstring widen(const std::string& text);   // UTF-8, bytes that do not decode pass as themselves

// "Z:\tmp\x" -> "/tmp/x"; other texts only have their separators turned.
std::filesystem::path to_native(const std::wstring& path);
// "/tmp/x" -> "Z:\tmp\x"
std::wstring from_native(const std::filesystem::path& path);

}  // namespace nv::platform::portable
