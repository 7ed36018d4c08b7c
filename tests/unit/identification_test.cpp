// The identification probes: PE headers from bytes written here, version
// resources and signatures from the scriptable platform.
#include <gtest/gtest.h>

#include <string>

#include "foundation/paths.h"
#include "host/identification.h"
#include "launcher/process_values.h"
#include "platform/fake/fake_control.h"
#include "test_support.h"

namespace {

void put16(std::string& bytes, std::size_t at, std::uint32_t value) {
  bytes[at] = static_cast<char>(value & 0xFF);
  bytes[at + 1] = static_cast<char>((value >> 8) & 0xFF);
}

void put32(std::string& bytes, std::size_t at, std::uint32_t value) {
  put16(bytes, at, value & 0xFFFF);
  put16(bytes, at + 2, value >> 16);
}

// A DOS header pointing at PE headers at `offset`, the file ending right after
// the 20-byte file header.
std::string pe_image(std::uint16_t machine, std::uint32_t offset = 128) {
  std::string bytes(offset < 64 ? 64 : offset + 24, '\0');
  bytes[0] = 'M';
  bytes[1] = 'Z';
  put32(bytes, 60, offset);
  bytes.replace(offset, 4, std::string("PE\0\0", 4));
  put16(bytes, offset + 4, machine);
  put16(bytes, offset + 6, 3);  // section count, to tell the words apart
  return bytes;
}

class Identification : public ::testing::Test {
 protected:
  void SetUp() override {
    nv::fake::reset_all();
    nv::reset_process_values();
  }

  std::wstring write(const std::wstring& name, const std::string& bytes) {
    const std::wstring path = dir_ / name;
    nv::test::write_bytes(path, bytes);
    return path;
  }

  std::uint16_t machine_of(const std::string& bytes) { return nv::read_pe_machine(write(L"probe.dll", bytes)); }

  nv::test::TempDir dir_;
};

// --- read_pe_machine -----------------------------------------------------------

TEST_F(Identification, ReadPeMachine_ReturnsTheMachineWord) {
  EXPECT_EQ(machine_of(pe_image(0x8664)), 0x8664);
  EXPECT_EQ(machine_of(pe_image(0x8664, 64)), 0x8664);
  EXPECT_EQ(machine_of(pe_image(0x8664, 0x400)), 0x8664);
}

TEST_F(Identification, ReadPeMachine_DoesNotJudgeTheMachine) {
  EXPECT_EQ(machine_of(pe_image(0x014C)), 0x014C);
  EXPECT_EQ(machine_of(pe_image(0xAA64)), 0xAA64);
}

TEST_F(Identification, ReadPeMachine_TooShortForADosHeader) {
  std::string bytes = pe_image(0x8664);
  EXPECT_EQ(machine_of(bytes.substr(0, 63)), 0);
  EXPECT_EQ(machine_of(""), 0);
  EXPECT_EQ(machine_of("MZ"), 0);
}

TEST_F(Identification, ReadPeMachine_WrongDosMagic) {
  std::string bytes = pe_image(0x8664);
  bytes[0] = 'Z';
  bytes[1] = 'M';
  EXPECT_EQ(machine_of(bytes), 0);
  bytes[0] = 'M';
  bytes[1] = 'z';
  EXPECT_EQ(machine_of(bytes), 0);
}

TEST_F(Identification, ReadPeMachine_OffsetPastTheEnd) {
  std::string bytes = pe_image(0x8664);
  put32(bytes, 60, static_cast<std::uint32_t>(bytes.size()));
  EXPECT_EQ(machine_of(bytes), 0);
  put32(bytes, 60, 0x7FFFFFF0);
  EXPECT_EQ(machine_of(bytes), 0);
}

TEST_F(Identification, ReadPeMachine_FileEndsInsideTheHeaders) {
  const std::string bytes = pe_image(0x8664);
  EXPECT_EQ(machine_of(bytes.substr(0, bytes.size() - 1)), 0);
  EXPECT_EQ(machine_of(bytes.substr(0, 128 + 4)), 0);
  EXPECT_EQ(machine_of(bytes.substr(0, 128 + 2)), 0);
}

TEST_F(Identification, ReadPeMachine_NegativeOffset) {
  // The top bit set: also where the offset, read unsigned, would wrap onto
  // valid headers at the start of a huge seek.
  std::string bytes = pe_image(0x8664, 64);
  put32(bytes, 60, 0x80000040);
  EXPECT_EQ(machine_of(bytes), 0);
  put32(bytes, 60, 0xFFFFFFFF);
  EXPECT_EQ(machine_of(bytes), 0);
}

TEST_F(Identification, ReadPeMachine_WrongPeSignature) {
  for (const char* signature : {"PF\0\0", "PE\0\1", "pe\0\0", "\0\0PE"}) {
    std::string bytes = pe_image(0x8664);
    bytes.replace(128, 4, std::string(signature, 4));
    EXPECT_EQ(machine_of(bytes), 0) << signature;
  }
  // The DOS header itself where the PE headers should be.
  std::string bytes = pe_image(0x8664);
  put32(bytes, 60, 0);
  EXPECT_EQ(machine_of(bytes), 0);
}

TEST_F(Identification, ReadPeMachine_MissingFileOrFolder) {
  EXPECT_EQ(nv::read_pe_machine(dir_ / L"absent.dll"), 0);
  EXPECT_EQ(nv::read_pe_machine(dir_.path()), 0);
}

// --- read_file_version and version_text ----------------------------------------

nv::platform::FixedFileInfo fixed(std::uint32_t ms, std::uint32_t ls, std::uint32_t flags = 0,
                                  std::uint32_t length = 52) {
  nv::platform::FixedFileInfo info;
  info.found = true;
  info.length = length;
  info.version_ms = ms;
  info.version_ls = ls;
  info.flags = flags;
  return info;
}

TEST_F(Identification, ReadFileVersion_SplitsTheWords) {
  const std::wstring path = dir_ / L"Qt6Core.dll";
  nv::fake::fixed_file_infos[nv::folded_path(path)] = fixed(0x0006000B, 0x00010002);
  const nv::FileVersion version = nv::read_file_version(path);
  EXPECT_EQ(version.major, 6u);
  EXPECT_EQ(version.minor, 11u);
  EXPECT_EQ(version.build, 1u);
  EXPECT_EQ(version.revision, 2u);
  EXPECT_FALSE(version.debug);
}

TEST_F(Identification, ReadFileVersion_DebugIsBitZeroOnly) {
  const std::wstring path = dir_ / L"Qt6Core.dll";
  nv::fake::fixed_file_infos[nv::folded_path(path)] = fixed(0xFFFFFFFF, 0xFFFFFFFF, 0x1);
  nv::FileVersion version = nv::read_file_version(path);
  EXPECT_TRUE(version.debug);
  EXPECT_EQ(version.major, 65535u);
  EXPECT_EQ(version.revision, 65535u);
  nv::fake::fixed_file_infos[nv::folded_path(path)] = fixed(1, 2, 0xFFFFFFFE);
  EXPECT_FALSE(nv::read_file_version(path).debug);
}

TEST_F(Identification, ReadFileVersion_IgnoresTheReportedLength) {
  const std::wstring path = dir_ / L"Qt6Core.dll";
  nv::fake::fixed_file_infos[nv::folded_path(path)] = fixed(0x00060005, 0, 0, 4);
  EXPECT_EQ(nv::read_file_version(path).minor, 5u);
}

TEST_F(Identification, ReadFileVersion_AllZeroWithoutAResource) {
  const std::wstring path = dir_ / L"Qt6Core.dll";
  auto info = fixed(0x00060005, 7, 1);
  info.found = false;
  nv::fake::fixed_file_infos[nv::folded_path(path)] = info;
  const nv::FileVersion version = nv::read_file_version(path);
  EXPECT_EQ(nv::version_text(version), L"0.0.0.0");
  EXPECT_FALSE(version.debug);
  EXPECT_EQ(nv::version_text(nv::read_file_version(dir_ / L"other.dll")), L"0.0.0.0");
}

TEST_F(Identification, VersionText) {
  EXPECT_EQ(nv::version_text({6, 11, 1, 0, false}), L"6.11.1.0");
  EXPECT_EQ(nv::version_text({6, 11, 1, 0, true}), L"6.11.1.0");
  EXPECT_EQ(nv::version_text({}), L"0.0.0.0");
  EXPECT_EQ(nv::version_text({65535, 10, 200, 3000, false}), L"65535.10.200.3000");
}

// --- check_qt_dll ----------------------------------------------------------------

class CheckQtDll : public Identification {
 protected:
  bool check(std::uint16_t machine, const nv::platform::FixedFileInfo& info) {
    const std::wstring path = write(L"Qt6Core.dll", pe_image(machine));
    nv::fake::fixed_file_infos[nv::folded_path(path)] = info;
    return nv::check_qt_dll(path, ms, ls);
  }
  bool words_unset() const { return ms == sentinel && ls == sentinel; }

  static constexpr std::uint32_t sentinel = 0xDEADBEEF;
  std::uint32_t ms = sentinel;
  std::uint32_t ls = sentinel;
};

TEST_F(CheckQtDll, AcceptsTheRequiredReleaseAndSetsTheWords) {
  EXPECT_TRUE(check(0x8664, fixed(0x0006000B, 0x00010000)));
  EXPECT_EQ(ms, 0x0006000Bu);
  EXPECT_EQ(ls, 0x00010000u);
}

TEST_F(CheckQtDll, FloorFromSixElevenOneBelowSeven) {
  struct Case {
    std::uint32_t ms, ls;
    bool pass;
  };
  const Case cases[] = {
      {0x0006000B, 0x00010000, true},  {0x0006000B, 0x00010001, true},  {0x0006000B, 0xFFFF0000, true},
      {0x0006000C, 0x00000000, true},  {0x0006FFFF, 0xFFFFFFFF, true},  {0x0006000B, 0x00000005, false},
      {0x0006000B, 0x0000FFFF, false}, {0x0006000A, 0xFFFFFFFF, false}, {0x00070000, 0x00000000, false},
      {0x0005000F, 0x00020000, false}, {0x00000000, 0x00000000, false}, {0x000B0006, 0x00000001, false},
  };
  for (const auto& c : cases) {
    ms = ls = sentinel;
    EXPECT_EQ(check(0x8664, fixed(c.ms, c.ls)), c.pass) << std::hex << c.ms << "." << c.ls;
    EXPECT_EQ(ms, c.ms);
    EXPECT_EQ(ls, c.ls);
  }
}

TEST_F(CheckQtDll, BelowTheFloorSetsTheWordsAndFails) {
  EXPECT_FALSE(check(0x8664, fixed(0x0006000B, 0x00000005)));  // 6.11.0.5
  EXPECT_EQ(ms, 0x0006000Bu);
  EXPECT_EQ(ls, 0x00000005u);
}

TEST_F(CheckQtDll, DebugFailsAndLeavesTheWordsUnset) {
  EXPECT_FALSE(check(0x8664, fixed(0x0006000B, 0x00010000, 0x1)));
  EXPECT_TRUE(words_unset());
  EXPECT_FALSE(check(0x8664, fixed(0x0006000B, 0x00010000, 0x3F)));
  EXPECT_TRUE(words_unset());
}

TEST_F(CheckQtDll, ShortFixedBlockFails) {
  EXPECT_FALSE(check(0x8664, fixed(0x0006000B, 0x00010000, 0, 51)));
  EXPECT_TRUE(words_unset());
  EXPECT_FALSE(check(0x8664, fixed(0x0006000B, 0x00010000, 0, 0)));
  EXPECT_TRUE(words_unset());
  EXPECT_TRUE(check(0x8664, fixed(0x0006000B, 0x00010000, 0, 60)));
}

TEST_F(CheckQtDll, NoVersionResourceFails) {
  auto info = fixed(0x0006000B, 0x00010000);
  info.found = false;
  EXPECT_FALSE(check(0x8664, info));
  EXPECT_TRUE(words_unset());
}

TEST_F(CheckQtDll, OnlyX64Passes) {
  for (std::uint16_t machine : {0x014C, 0xAA64, 0x0000, 0x0200}) {
    EXPECT_FALSE(check(machine, fixed(0x0006000B, 0x00010000))) << machine;
    EXPECT_TRUE(words_unset());
  }
}

TEST_F(CheckQtDll, HeaderTestsComeFirst) {
  const std::wstring path = dir_ / L"absent\\Qt6Core.dll";
  nv::fake::fixed_file_infos[nv::folded_path(path)] = fixed(0x0006000B, 0x00010000);
  EXPECT_FALSE(nv::check_qt_dll(path, ms, ls));
  EXPECT_TRUE(words_unset());
  std::string image = pe_image(0x8664);
  image.replace(128, 2, "PF");
  const std::wstring broken = write(L"broken.dll", image);
  nv::fake::fixed_file_infos[nv::folded_path(broken)] = fixed(0x0006000B, 0x00010000);
  ms = ls = sentinel;
  EXPECT_FALSE(nv::check_qt_dll(broken, ms, ls));
  EXPECT_TRUE(words_unset());
}

// --- signed_by and signed_by_at --------------------------------------------------

nv::platform::SignatureCheck signature(const std::wstring& name, bool verified = true, bool found = true,
                                       std::uint32_t secondary = 0) {
  nv::platform::SignatureCheck check;
  check.verified = verified;
  check.signer_found = found;
  check.signer_name = name;
  check.secondary_signatures = secondary;
  return check;
}

class SignedBy : public Identification {
 protected:
  void sign(std::uint32_t index, const nv::platform::SignatureCheck& check) {
    nv::fake::signatures[{nv::folded_path(path), index}] = check;
  }
  std::wstring path = dir_ / L"Paltalk.exe";
};

TEST_F(SignedBy, NameInAnotherCaseMatches) {
  sign(0, signature(L"Paltalk US LLC"));
  EXPECT_TRUE(nv::signed_by(path, L"Paltalk US LLC"));
  EXPECT_TRUE(nv::signed_by(path, L"PALTALK us llc"));
  ASSERT_EQ(nv::fake::signature_checks.size(), 2u);
  EXPECT_EQ(nv::fake::signature_checks[0].first, path);
  EXPECT_FALSE(nv::fake::signature_checks[0].second.has_value());
}

TEST_F(SignedBy, TheWholeNameCounts) {
  sign(0, signature(L"Paltalk US LLC Europe"));
  EXPECT_FALSE(nv::signed_by(path, L"Paltalk US LLC"));
  EXPECT_FALSE(nv::signed_by(path, L"Paltalk"));
  EXPECT_FALSE(nv::signed_by(path, L""));
  sign(0, signature(L"Paltalk US"));
  EXPECT_FALSE(nv::signed_by(path, L"Paltalk US LLC"));
  sign(0, signature(L"Paltalk US LLC "));
  EXPECT_FALSE(nv::signed_by(path, L"Paltalk US LLC"));
}

TEST_F(SignedBy, UnverifiedOrSignerlessFails) {
  EXPECT_FALSE(nv::signed_by(path, L"Paltalk US LLC"));  // unsigned
  sign(0, signature(L"Paltalk US LLC", false));
  EXPECT_FALSE(nv::signed_by(path, L"Paltalk US LLC"));
  sign(0, signature(L"Paltalk US LLC", true, false));
  EXPECT_FALSE(nv::signed_by(path, L"Paltalk US LLC"));
}

TEST_F(SignedBy, OtherSigner) {
  sign(0, signature(L"Someone Else"));
  EXPECT_FALSE(nv::signed_by(path, L"Paltalk US LLC"));
  EXPECT_TRUE(nv::signed_by(path, L"someone else"));
}

TEST_F(SignedBy, AtIndexExaminesThatSignature) {
  sign(0, signature(L"Paltalk US LLC", true, true, 1));
  sign(1, signature(L"The QT Company Oy"));
  EXPECT_TRUE(nv::signed_by_at(path, 1, L"The Qt Company Oy"));
  EXPECT_FALSE(nv::signed_by_at(path, 1, L"Paltalk US LLC"));
  EXPECT_TRUE(nv::signed_by_at(path, 0, L"Paltalk US LLC"));
  EXPECT_FALSE(nv::signed_by_at(path, 2, L"Paltalk US LLC"));
  ASSERT_EQ(nv::fake::signature_checks.size(), 4u);
  EXPECT_EQ(nv::fake::signature_checks[0].second, std::optional<std::uint32_t>(1));
  EXPECT_EQ(nv::fake::signature_checks[2].second, std::optional<std::uint32_t>(0));
  EXPECT_EQ(nv::fake::signature_checks[3].second, std::optional<std::uint32_t>(2));
}

TEST_F(SignedBy, AtIndexReportsTheSecondaryCountWhenVerified) {
  sign(0, signature(L"Paltalk US LLC", true, true, 1));
  std::uint32_t count = 99;
  EXPECT_TRUE(nv::signed_by_at(path, 0, L"Paltalk US LLC", &count));
  EXPECT_EQ(count, 1u);
  count = 99;
  EXPECT_FALSE(nv::signed_by_at(path, 0, L"Someone Else", &count));  // the name plays no part in the count
  EXPECT_EQ(count, 1u);
  EXPECT_TRUE(nv::signed_by_at(path, 0, L"Paltalk US LLC", nullptr));
}

TEST_F(SignedBy, AtIndexLeavesTheCountWhenNotVerified) {
  sign(0, signature(L"Paltalk US LLC", false, true, 1));
  std::uint32_t count = 99;
  EXPECT_FALSE(nv::signed_by_at(path, 0, L"Paltalk US LLC", &count));
  EXPECT_EQ(count, 99u);
  EXPECT_FALSE(nv::signed_by_at(dir_ / L"unsigned.exe", 0, L"Paltalk US LLC", &count));
  EXPECT_EQ(count, 99u);
}

TEST_F(SignedBy, AtIndexCountsZeroForASingleSignature) {
  sign(0, signature(L"Paltalk US LLC"));
  std::uint32_t count = 99;
  EXPECT_TRUE(nv::signed_by_at(path, 0, L"Paltalk US LLC", &count));
  EXPECT_EQ(count, 0u);
}

}  // namespace
