#pragma once
#include <string>

namespace nv {

// The result of judging one host installation. A launch that skips the
// analysis sets exe_path alone.
struct HostAnalysis {
  std::wstring exe_path;
  std::wstring hashes;  // four SHA-256 digests joined by '|', 259 characters when complete
  std::wstring message;
  std::wstring host_version;
  std::wstring qt_version;
  bool analyzed = false;
  bool recognized = false;
  bool compatible = false;
};

}  // namespace nv
