#pragma once
// Authenticode verification of a file and the name of its signer.
#include <cstdint>
#include <optional>
#include <string>

namespace nv::platform {

// WinVerifyTrust's result for a file that carries no signature.
inline constexpr std::uint32_t trust_e_nosignature = 0x800B0100;

struct SignatureCheck {
  bool verified = false;      // WinVerifyTrust returned zero
  bool signer_found = false;  // provider data, signer, chain and leaf certificate were there
  std::wstring signer_name;   // CERT_NAME_SIMPLE_DISPLAY_TYPE of the leaf
  std::uint32_t secondary_signatures = 0;      // cSecondarySigs, when asked for and verified
  std::uint32_t status = trust_e_nosignature;  // WinVerifyTrust's result
};

// Without an index: the primary signature, offline (cache-only URL retrieval).
// With an index: that signature through the signature settings; index 0 also
// asks for the count of secondary signatures.
SignatureCheck check_signature(const std::wstring& path, std::optional<std::uint32_t> index);
// One signature of a file held open (files.h), read through its handle
// (WINTRUST_FILE_INFO.hFile); `path` only names it.
struct OpenFile;
SignatureCheck check_signature(const OpenFile& file, const std::wstring& path, std::uint32_t index);

}  // namespace nv::platform
