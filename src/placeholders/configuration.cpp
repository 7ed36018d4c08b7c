// The configuration store is being built: until then nothing can be saved.
#include "foundation/failure.h"
#include "host/configuration.h"

namespace nv {

void save_configuration(const std::wstring&, const HostAnalysis&, bool, const std::wstring&) {
  fail(failure::cannot_save_settings);
}

}  // namespace nv
