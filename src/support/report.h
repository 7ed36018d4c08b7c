#pragma once
// The support report: a small closed JSON file of versions and status that a
// user sends by hand. It never holds a path, a user or machine name, or any
// free text read from a file.
#include <string>

namespace nv {

// The report written through an atomic replace; false when it cannot be
// written. The elevation check's failure passes through, with no file written.
bool save_support_report(const std::wstring& target, const std::wstring& host_path, bool replace);

// The report's text: nine lines, LF, ASCII, no byte-order mark.
std::string compose_support_report(const std::wstring& host_path);

// One file by its digest and signature state, never by its location.
std::string package_file_record(const std::wstring& path);

// The ASCII of a JSON number for a text of 1 to 10 decimal digits up to
// 4,294,967,295, without leading zeros; otherwise the word null.
std::string json_number_or_null(const std::wstring& text);

}  // namespace nv
