#include "platform/trust.h"

#include <windows.h>
#include <softpub.h>
#include <wincrypt.h>
#include <wintrust.h>

#include <cstddef>

#include "platform/win32/open_file.h"
#include "platform/win32/owners.h"

namespace nv::platform {
namespace {

// MinGW-w64's wintrust.h stops before the signature settings that pick one
// signature of a file with several; the Windows SDK has them. Without the SDK's
// definitions, the same layout is declared here.
#ifdef WSS_VERIFY_SPECIFIC
using SignatureSettings = WINTRUST_SIGNATURE_SETTINGS;
struct TrustData {
  WINTRUST_DATA data{};
  WINTRUST_DATA* get() { return &data; }
  void set_settings(SignatureSettings* settings) { data.pSignatureSettings = settings; }
};
#else
constexpr DWORD WSS_VERIFY_SPECIFIC = 0x00000001;
constexpr DWORD WSS_GET_SECONDARY_SIG_COUNT = 0x00000002;
struct SignatureSettings {
  DWORD cbStruct;
  DWORD dwIndex;
  DWORD dwFlags;
  DWORD cSecondarySigs;
  DWORD dwVerifiedSigIndex;
  void* pCryptoPolicy;  // PCERT_STRONG_SIGN_PARA
};
// WINTRUST_DATA as the SDK declares it: the older structure and then the
// pointer to the settings.
struct TrustData {
  WINTRUST_DATA data{};
  SignatureSettings* pSignatureSettings = nullptr;
  WINTRUST_DATA* get() { return &data; }
  void set_settings(SignatureSettings* settings) { pSignatureSettings = settings; }
};
static_assert(offsetof(TrustData, pSignatureSettings) == sizeof(WINTRUST_DATA));
#endif

SignatureCheck check(const std::wstring& path, HANDLE handle, std::optional<std::uint32_t> index) {
  SignatureCheck result;

  WINTRUST_FILE_INFO file{};
  file.cbStruct = sizeof file;
  file.pcwszFilePath = path.c_str();
  file.hFile = handle;

  SignatureSettings settings{};
  settings.cbStruct = sizeof settings;

  TrustData trust;
  WINTRUST_DATA& data = *trust.get();
  data.cbStruct = sizeof(TrustData);
  data.dwUIChoice = WTD_UI_NONE;
  data.fdwRevocationChecks = WTD_REVOKE_NONE;
  data.dwUnionChoice = WTD_CHOICE_FILE;
  data.pFile = &file;
  data.dwStateAction = WTD_STATEACTION_VERIFY;
  if (index) {
    // One chosen signature; this form may fetch what it needs.
    settings.dwIndex = *index;
    settings.dwFlags = WSS_VERIFY_SPECIFIC | (*index == 0 ? WSS_GET_SECONDARY_SIG_COUNT : 0);
    trust.set_settings(&settings);
  } else {
    // The primary signature, offline: revocation is not consulted and the
    // network is never waited on.
    data.dwProvFlags = WTD_CACHE_ONLY_URL_RETRIEVAL;
  }

  GUID action = WINTRUST_ACTION_GENERIC_VERIFY_V2;
  const LONG status = WinVerifyTrust(nullptr, &action, &data);
  // WinVerifyTrust keeps state between the verification and the close call;
  // the close is made on every way out.
  const win32::ScopeExit close_state([&data] {
    GUID close_action = WINTRUST_ACTION_GENERIC_VERIFY_V2;
    data.dwStateAction = WTD_STATEACTION_CLOSE;
    WinVerifyTrust(nullptr, &close_action, &data);
  });
  result.status = static_cast<std::uint32_t>(status);
  if (status != 0) return result;
  result.verified = true;
  if (index) result.secondary_signatures = settings.cSecondarySigs;

  CRYPT_PROVIDER_DATA* provider = WTHelperProvDataFromStateData(data.hWVTStateData);
  CRYPT_PROVIDER_SGNR* signer =
      provider ? WTHelperGetProvSignerFromChain(provider, 0, FALSE, 0) : nullptr;
  if (!signer || signer->csCertChain < 1 || !signer->pasCertChain || !signer->pasCertChain[0].pCert)
    return result;

  wchar_t name[512] = {};
  CertGetNameStringW(signer->pasCertChain[0].pCert, CERT_NAME_SIMPLE_DISPLAY_TYPE, 0, nullptr, name,
                     512);
  result.signer_found = true;
  result.signer_name = name;
  return result;
}

}  // namespace

SignatureCheck check_signature(const std::wstring& path, std::optional<std::uint32_t> index) {
  return check(path, nullptr, index);
}

SignatureCheck check_signature(const OpenFile& file, const std::wstring& path,
                               std::uint32_t index) {
  return check(path, file.handle.get(), index);
}

}  // namespace nv::platform
