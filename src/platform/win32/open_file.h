#pragma once
// The handle behind a file held open (platform/files.h), for the modules that
// read through it.
#include "platform/files.h"
#include "platform/win32/owners.h"

namespace nv::platform {

struct OpenFile {
  win32::UniqueFile handle;
};

}  // namespace nv::platform
