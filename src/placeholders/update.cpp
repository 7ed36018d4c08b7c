// The self-updater does not exist yet: nothing is offered, nothing verifies.
#include "foundation/failure.h"
#include "update/handover.h"
#include "update/manifest.h"
#include "update/update_decision.h"

namespace nv {

ReleaseManifest parse_release_manifest(const std::string&) { fail(failure::update_signature); }

bool verify_installer(const std::wstring&, const ReleaseManifest&) { return false; }

void clean_update_cache() {}

bool offer_update(const std::wstring&, bool, const std::wstring&, const std::wstring&, const std::wstring&) {
  return false;
}

}  // namespace nv
