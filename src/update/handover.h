#pragma once
#include <string>

#include "update/manifest.h"

namespace nv {

bool verify_installer(const std::wstring& path, const ReleaseManifest& manifest);
void clean_update_cache();  // never throws

}  // namespace nv
