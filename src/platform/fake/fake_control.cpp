#include "platform/fake/fake_control.h"

namespace nv::fake {
namespace {
std::vector<void (*)()>& resets() {
  static std::vector<void (*)()> all;
  return all;
}
}  // namespace

ResetRegistration::ResetRegistration(void (*reset)()) { resets().push_back(reset); }

void reset_all() {
  for (auto reset : resets()) reset();
}

}  // namespace nv::fake
