// The compatibility verdict is being built: until then no build can be
// analysed, so every dark launch falls back to a plain one.
#include "foundation/paths.h"
#include "host/verdict.h"

namespace nv {

HostAnalysis analyze_host(std::wstring path) {
  HostAnalysis analysis;
  analysis.exe_path = normal_path(path);
  analysis.message = L"Select the installed Paltalk.exe.";
  return analysis;
}
bool is_signed_update(const HostAnalysis&) { return false; }
std::wstring verdict_word(const HostAnalysis&) { return L"unavailable"; }

}  // namespace nv
