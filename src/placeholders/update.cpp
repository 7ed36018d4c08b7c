// The rest of the self-updater does not exist yet: nothing is offered.
#include "update/update_decision.h"

namespace nv {

bool offer_update(const std::wstring&, bool, const std::wstring&, const std::wstring&, const std::wstring&) {
  return false;
}

}  // namespace nv
