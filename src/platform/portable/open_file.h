#pragma once
// The stream behind a file held open (platform/files.h).
#include <cstdio>

#include "platform/files.h"

namespace nv::platform {

struct OpenFile {
  std::FILE* stream = nullptr;
};

}  // namespace nv::platform
