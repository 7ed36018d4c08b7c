#include "platform/trust.h"

#include "foundation/paths.h"
#include "platform/fake/fake_control.h"

namespace nv::fake {
std::map<std::pair<std::wstring, std::uint32_t>, platform::SignatureCheck> signatures;
std::vector<std::pair<std::wstring, std::optional<std::uint32_t>>> signature_checks;
namespace {
void reset() {
  signatures.clear();
  signature_checks.clear();
}
const ResetRegistration registration{&reset};
}  // namespace
}  // namespace nv::fake

namespace nv::platform {

SignatureCheck check_signature(const std::wstring& path, std::optional<std::uint32_t> index) {
  fake::signature_checks.emplace_back(path, index);
  auto it = fake::signatures.find({folded_path(path), index.value_or(0)});
  return it == fake::signatures.end() ? SignatureCheck{} : it->second;
}

}  // namespace nv::platform
