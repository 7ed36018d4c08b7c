#include "host/ini.h"

#include "platform/ini.h"

namespace nv {

std::wstring read_ini_value(const std::wstring& path, const std::wstring& section,
                            const std::wstring& key) {
  return platform::read_profile_string(path, section, key);
}

}  // namespace nv
