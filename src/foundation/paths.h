#pragma once
// One way everywhere to decide whether two spellings name one file: bring the
// path to its normal form, fold it, compare as text. Both '\' and '/' separate.
#include <string>

namespace nv {

std::wstring normal_path(const std::wstring& path);  // never fails
std::wstring folded_path(const std::wstring& path);  // normal_path, A-Z folded
bool same_path(const std::wstring& a, const std::wstring& b);
bool is_absolute_path(const std::wstring& path);
std::wstring parent_of(const std::wstring& path);
std::wstring name_of(const std::wstring& path);
std::wstring lexically_normal(const std::wstring& path);
// The filesystem library's appending of a relative name: one separator unless
// the left side is empty, a bare drive, or already ends in one.
std::wstring append_path(const std::wstring& left, const std::wstring& name);
bool is_regular_file(const std::wstring& path);  // never raises
bool path_exists(const std::wstring& path);      // raises the failure "exists"
// The directory with its missing parents, or the failure "create_directories".
void create_directories(const std::wstring& path);
// A final path as the file system gives it, in the form paths are written:
// "\\?\C:\x" -> "C:\x", "\\?\UNC\s\x" -> "\\s\x"; any other form unchanged.
std::wstring dos_path_of(const std::wstring& final_path);

// towlower of the start-up locale: A-Z only, every other unit unchanged.
std::wstring fold_ascii(std::wstring text);
// Two names compared as _wcsicmp compares them in the start-up locale: A-Z folded, every other
// unit as is. For file names of programs and modules, and for signers' names; no path logic.
bool same_name(const std::wstring& a, const std::wstring& b);

}  // namespace nv
