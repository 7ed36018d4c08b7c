// The identification probes on real files. Version resources and signatures
// exist only in the Windows build (natively they are the scriptable fakes);
// the fixtures come from tests/probe_fixtures and the test PKI of tests/pki.
#include <gtest/gtest.h>

#include <string>
#include <tuple>

#include "foundation/encoding.h"
#include "host/identification.h"
#include "platform/trust.h"
#include "platform/version_info.h"
#include "test_support.h"

#ifdef _WIN32
#include <windows.h>
#endif

namespace nv {
namespace {

#ifndef _WIN32

TEST(ProbeFiles, ReadPeMachine_NativeExecutableIsNoPeImage) {
  test::TempDir dir;
  test::write_bytes(dir / L"elf", std::string("\x7F" "ELF\x02\x01\x01", 7) + std::string(120, '\0'));
  EXPECT_EQ(read_pe_machine(dir / L"elf"), 0);
}

#else

std::wstring fixture(const std::wstring& name) {
  wchar_t module[MAX_PATH] = {};
  GetModuleFileNameW(nullptr, module, MAX_PATH);
  const std::wstring path = module;
  return path.substr(0, path.find_last_of(L"\\/") + 1) + L"probe_fixtures\\" + name;
}

constexpr const char* root_hint =
    "; a signed fixture does not verify: is the test root in the system store? (tests/pki/install-root.sh "
    "<build>/pki/root.crt)";
constexpr std::uint32_t unset = 0xDEADBEEF;

TEST(ProbeFiles, HeadersAndVersionsOfRealLibraries) {
  EXPECT_EQ(platform::read_fixed_file_info(fixture(L"qt_release.dll")).length, 52u);
  // The fixed file version, not the product version; the debug bit without
  // the mask; a signature changes neither headers nor resources.
  const std::tuple<const wchar_t*, bool, const wchar_t*, bool, bool, std::uint32_t, std::uint32_t> cases[] = {
      // file, resource found, version, debug, check_qt_dll and its words
      {L"qt_release.dll", true, L"6.11.1.0", false, true, 0x0006000B, 0x00010000},
      {L"signed_dual.dll", true, L"6.11.1.0", false, true, 0x0006000B, 0x00010000},
      {L"qt_old.dll", true, L"6.11.0.5", false, false, 0x0006000B, 0x00000005},
      {L"qt_debug.dll", true, L"6.11.1.0", true, false, unset, unset},
      {L"no_version.dll", false, L"0.0.0.0", false, false, unset, unset},
      {L"absent.dll", false, L"0.0.0.0", false, false, unset, unset},
  };
  for (const auto& [name, found, text, debug, qt, version_ms, version_ls] : cases) {
    SCOPED_TRACE(to_utf8(name));
    EXPECT_EQ(read_pe_machine(fixture(name)), std::wstring(name) == L"absent.dll" ? 0 : machine_amd64);
    EXPECT_EQ(platform::read_fixed_file_info(fixture(name)).found, found);
    const FileVersion version = read_file_version(fixture(name));
    EXPECT_EQ(version_text(version), text);
    EXPECT_EQ(version.debug, debug);
    std::uint32_t ms = unset, ls = unset;
    EXPECT_EQ(check_qt_dll(fixture(name), ms, ls), qt);
    EXPECT_EQ(ms, version_ms);
    EXPECT_EQ(ls, version_ls);
  }
}

TEST(ProbeSignatures, VerifiedSignerByWholeNameInAnyCaseAndTheCountOfFurtherSignatures) {
  ASSERT_TRUE(platform::check_signature(fixture(L"signed_paltalk.dll"), std::nullopt).verified) << root_hint;
  const std::tuple<const wchar_t*, const wchar_t*, bool, std::uint32_t> cases[] = {
      // file, expected subject, result of signed_by and signed_by_at index 0, count of further signatures
      {L"signed_paltalk.dll", L"Paltalk US LLC", true, 0}, {L"signed_paltalk.dll", L"PALTALK us llc", true, 0},
      {L"signed_europe.dll", L"Paltalk US LLC Europe", true, 0}, {L"signed_europe.dll", L"Paltalk US LLC", false, 0},
      {L"signed_someone.dll", L"Someone Else", true, 0}, {L"signed_someone.dll", L"Paltalk US LLC", false, 0},
      {L"signed_qt.dll", L"The QT Company Oy", true, 0}, {L"signed_qt.dll", L"The Qt Company Oy", true, 0},
      {L"signed_dual.dll", L"Paltalk US LLC", true, 1}, {L"signed_dual.dll", L"The QT Company Oy", false, 1},
      {L"signed_broken.dll", L"Paltalk US LLC", false, unset}, {L"qt_release.dll", L"Paltalk US LLC", false, unset},
      {L"absent.dll", L"Paltalk US LLC", false, unset},
  };
  for (const auto& [name, subject, result, further] : cases) {
    SCOPED_TRACE(to_utf8(name) + " " + to_utf8(subject));
    EXPECT_EQ(signed_by(fixture(name), subject), result);
    std::uint32_t count = unset;
    EXPECT_EQ(signed_by_at(fixture(name), 0, subject, &count), result);
    EXPECT_EQ(count, further);
  }
}

TEST(ProbeSignatures, DualSignature_SecondSignatureByIndex) {
  const auto second = platform::check_signature(fixture(L"signed_dual.dll"), 1u);
  HMODULE ntdll = GetModuleHandleW(L"ntdll.dll");
  const bool wine = ntdll && GetProcAddress(ntdll, "wine_get_version");
  if (wine && second.verified && second.signer_name == L"Paltalk US LLC") {
    GTEST_SKIP() << "Platform gap: Wine ignores the index of WSS_VERIFY_SPECIFIC and reports the primary signer "
                    "for index 1; the per-signature rule is covered against the scriptable trust backend";
  }
  EXPECT_TRUE(signed_by_at(fixture(L"signed_dual.dll"), 1, L"The QT Company Oy"));
  EXPECT_FALSE(signed_by_at(fixture(L"signed_dual.dll"), 1, L"Paltalk US LLC"));
  EXPECT_FALSE(signed_by_at(fixture(L"signed_paltalk.dll"), 1, L"Paltalk US LLC"));
}

#endif

}  // namespace
}  // namespace nv
