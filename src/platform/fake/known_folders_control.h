#pragma once
// Test control of the known folders (see fake_control.h for reset_all).
#include <map>
#include <string>
#include <vector>

#include "platform/known_folders.h"

namespace nv::fake {

// A folder not listed cannot be had.
extern std::map<platform::KnownFolder, std::wstring> known_folders;
extern std::vector<platform::KnownFolder> known_folder_queries;  // every call, in order

}  // namespace nv::fake
