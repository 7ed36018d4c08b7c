#include "platform/trust.h"

namespace nv::platform {

// Authenticode is a Windows service: natively no file verifies.
SignatureCheck check_signature(const std::wstring&, std::optional<std::uint32_t>) { return {}; }
SignatureCheck check_signature(const OpenFile&, const std::wstring&, std::uint32_t) { return {}; }

}  // namespace nv::platform
