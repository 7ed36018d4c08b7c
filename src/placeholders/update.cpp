// The rest of the self-updater does not exist yet: nothing is offered, no installer verifies.
#include "update/handover.h"
#include "update/manifest.h"
#include "update/update_decision.h"

namespace nv {

bool verify_installer(const std::wstring&, const ReleaseManifest&) { return false; }

void clean_update_cache() {}

bool offer_update(const std::wstring&, bool, const std::wstring&, const std::wstring&, const std::wstring&) {
  return false;
}

}  // namespace nv
