#pragma once
#include <string>

#include "host/host_analysis.h"

namespace nv {

HostAnalysis analyze_host(std::wstring path);
std::wstring verdict_word(const HostAnalysis& analysis);

}  // namespace nv
