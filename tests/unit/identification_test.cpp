// The identification probes: PE headers from bytes written here, version
// resources and signatures from the scriptable platform.
#include "host/identification.h"

#include <gtest/gtest.h>

#include <string>

#include "installation.h"

namespace nv {
namespace {

std::string le32(std::uint32_t value) {
  std::string bytes(4, '\0');
  for (int i = 0; i < 4; ++i) bytes[i] = static_cast<char>((value >> (8 * i)) & 0xFF);
  return bytes;
}

std::string patched(std::string bytes, std::size_t at, const std::string& with) {
  return bytes.replace(at, with.size(), with);
}

// The PE headers moved to `offset`; the file ends right after the file header.
std::string pe_at(std::uint16_t machine, std::uint32_t offset = 128) {
  std::string bytes = test::pe_image(machine, "");
  bytes.insert(64, offset - 64, '\0');
  return patched(bytes, 60, le32(offset));
}

class Identification : public testing::Test {
 protected:
  void SetUp() override {
    fake::reset_all();
    reset_process_values();
  }
  std::wstring write(const std::string& bytes) {
    const std::wstring path = dir / L"Qt6Core.dll";
    test::write_bytes(path, bytes);
    return path;
  }
  static platform::FixedFileInfo& info(const std::wstring& path) { return fake::fixed_file_infos[folded_path(path)]; }

  test::TempDir dir;
};

TEST_F(Identification, ReadPeMachine_HeadersDecide) {
  const std::string x64 = pe_at(machine_amd64);
  struct Case {
    const char* name;
    std::string bytes;
    std::uint16_t machine;
  };
  const Case cases[] = {
      {"x64 at 128", x64, 0x8664}, {"x64 at 64", pe_at(0x8664, 64), 0x8664},
      {"x64 at 0x400", pe_at(0x8664, 0x400), 0x8664}, {"x86 is not judged", pe_at(0x014C), 0x014C},
      {"ARM64 is not judged", pe_at(0xAA64), 0xAA64}, {"empty", "", 0}, {"63 bytes", x64.substr(0, 63), 0},
      {"magic ZM", patched(x64, 0, "ZM"), 0}, {"magic Mz", patched(x64, 0, "Mz"), 0},
      {"offset at the end", patched(x64, 60, le32(static_cast<std::uint32_t>(x64.size()))), 0},
      {"offset far past the end", patched(x64, 60, le32(0x7FFFFFF0)), 0},
      {"ends one byte early", x64.substr(0, x64.size() - 1), 0},
      {"ends after the signature", x64.substr(0, 132), 0}, {"ends inside the signature", x64.substr(0, 130), 0},
      // The top bit set: read unsigned, the offset would wrap onto the headers at 64.
      {"negative offset", patched(pe_at(0x8664, 64), 60, le32(0x80000040)), 0},
      {"offset -1", patched(pe_at(0x8664, 64), 60, le32(0xFFFFFFFF)), 0},
      {"signature PF", patched(x64, 128, "PF"), 0}, {"signature pe", patched(x64, 128, "pe"), 0},
      {"signature PE 0 1", patched(x64, 128, std::string("PE\0\1", 4)), 0},
      {"signature 0 0 PE", patched(x64, 128, std::string("\0\0PE", 4)), 0},
      {"offset naming the DOS header", patched(x64, 60, le32(0)), 0},
  };
  for (const Case& c : cases) EXPECT_EQ(read_pe_machine(write(c.bytes)), c.machine) << c.name;
  EXPECT_EQ(read_pe_machine(dir / L"absent.dll"), 0);
  EXPECT_EQ(read_pe_machine(dir.path()), 0);
}

TEST_F(Identification, ReadFileVersion_SplitsTheFixedWords) {
  struct Case {
    std::uint32_t ms, ls, flags, length;
    bool found;
    const wchar_t* text;
    bool debug;
  };
  const Case cases[] = {
      {0x0006000B, 0x00010002, 0, 52, true, L"6.11.1.2", false},
      {0xFFFFFFFF, 0xFFFFFFFF, 1, 52, true, L"65535.65535.65535.65535", true},
      {0x00010002, 0x00030004, 0xFFFFFFFE, 52, true, L"1.2.3.4", false},  // debug is bit 0 alone
      {0x00060005, 0, 0, 4, true, L"6.5.0.0", false},                     // the length is not examined
      {0x00060005, 7, 1, 52, false, L"0.0.0.0", false},                   // no resource
  };
  const std::wstring path = dir / L"Qt6Core.dll";
  for (const Case& c : cases) {
    info(path) = platform::FixedFileInfo{c.found, c.length, c.ms, c.ls, c.flags};
    const FileVersion version = read_file_version(path);
    EXPECT_EQ(version_text(version), c.text);
    EXPECT_EQ(version.debug, c.debug) << test::narrowed(c.text);
  }
  EXPECT_EQ(version_text(read_file_version(dir / L"other.dll")), L"0.0.0.0");
}

TEST_F(Identification, VersionText_FourNumbersWithoutTheDebugFlag) {
  EXPECT_EQ(version_text({6, 11, 1, 0, false}), L"6.11.1.0");
  EXPECT_EQ(version_text({6, 11, 1, 0, true}), L"6.11.1.0");
  EXPECT_EQ(version_text({}), L"0.0.0.0");
  EXPECT_EQ(version_text({65535, 10, 200, 3000, false}), L"65535.10.200.3000");
}

constexpr std::uint32_t unset = 0xDEADBEEF;

TEST_F(Identification, CheckQtDll_FloorSetsTheWordsEitherWay) {
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
  const std::wstring path = write(pe_at(machine_amd64));
  for (const Case& c : cases) {
    info(path) = platform::FixedFileInfo{true, 52, c.ms, c.ls, 0};
    std::uint32_t ms = unset, ls = unset;
    EXPECT_EQ(check_qt_dll(path, ms, ls), c.pass) << std::hex << c.ms << "." << c.ls;
    EXPECT_EQ(ms, c.ms);
    EXPECT_EQ(ls, c.ls);
  }
  info(path) = platform::FixedFileInfo{true, 60, 0x0006000B, 0x00010000, 0};  // only a short block counts
  std::uint32_t ms = unset, ls = unset;
  EXPECT_TRUE(check_qt_dll(path, ms, ls));
}

TEST_F(Identification, CheckQtDll_RefusesBeforeTheWords) {
  const std::string x64 = pe_at(machine_amd64);
  struct Case {
    const char* name;
    std::string bytes;
    std::uint32_t flags, length;
    bool found;
  };
  const Case cases[] = {
      {"debug", x64, 1, 52, true},          {"debug among other flags", x64, 0x3F, 52, true},
      {"block of 51 bytes", x64, 0, 51, true}, {"no reported length", x64, 0, 0, true},
      {"no version resource", x64, 0, 52, false}, {"x86", pe_at(0x014C), 0, 52, true},
      {"ARM64", pe_at(0xAA64), 0, 52, true}, {"broken PE signature", patched(x64, 128, "PF"), 0, 52, true},
      {"empty file", "", 0, 52, true},
  };
  for (const Case& c : cases) {
    const std::wstring path = write(c.bytes);
    info(path) = platform::FixedFileInfo{c.found, c.length, 0x0006000B, 0x00010000, c.flags};
    std::uint32_t ms = unset, ls = unset;
    EXPECT_FALSE(check_qt_dll(path, ms, ls)) << c.name;
    EXPECT_TRUE(ms == unset && ls == unset) << c.name;
  }
}

TEST_F(Identification, SignedBy_VerifiedPrimarySignerByWholeNameInAnyCase) {
  struct Case {
    const wchar_t *signer, *expected;  // signer nullptr: the file is unsigned
    bool result, verified = true, signer_found = true;
  };
  const wchar_t* paltalk = L"Paltalk US LLC";
  const Case cases[] = {
      {paltalk, paltalk, true},         {paltalk, L"PALTALK us llc", true},     {L"Someone Else", paltalk, false},
      {L"Paltalk US LLC Europe", paltalk, false}, {L"Paltalk US", paltalk, false}, {L"Paltalk US LLC ", paltalk, false},
      {paltalk, L"", false},            {nullptr, paltalk, false},              {paltalk, paltalk, false, false},
      {paltalk, paltalk, false, true, false},
  };
  const std::wstring path = dir / L"Paltalk.exe";
  for (const Case& c : cases) {
    fake::reset_all();
    if (c.signer) fake::signatures[{folded_path(path), 0}] = {c.verified, c.signer_found, c.signer, 0};
    EXPECT_EQ(signed_by(path, c.expected), c.result)
        << (c.signer ? test::narrowed(c.signer) : "unsigned") << " / " << test::narrowed(c.expected) << " verified "
        << c.verified << " signer " << c.signer_found;
    ASSERT_EQ(fake::signature_checks.size(), 1u);
    EXPECT_EQ(fake::signature_checks[0], std::make_pair(path, std::optional<std::uint32_t>()));
  }
}

TEST_F(Identification, SignedByAt_ExaminesTheIndexAndCountsWhenVerified) {
  const std::wstring dual = dir / L"dual.exe", single = dir / L"single.exe", broken = dir / L"broken.exe";
  fake::signatures[{folded_path(dual), 0}] = {true, true, L"Paltalk US LLC", 1};
  fake::signatures[{folded_path(dual), 1}] = {true, true, L"The QT Company Oy", 0};
  fake::signatures[{folded_path(single), 0}] = {true, true, L"Paltalk US LLC", 0};
  fake::signatures[{folded_path(broken), 0}] = {false, true, L"Paltalk US LLC", 1};
  struct Case {
    const std::wstring& file;
    std::uint32_t index;
    const wchar_t* expected;
    bool result;
    std::uint32_t count;  // `unset`: left alone
  };
  const std::wstring unsigned_file = dir / L"unsigned.exe";
  const Case cases[] = {
      {dual, 0, L"Paltalk US LLC", true, 1},     {dual, 0, L"Someone Else", false, 1},  // a wrong name still counts
      {dual, 1, L"The Qt Company Oy", true, 0},  {dual, 1, L"Paltalk US LLC", false, 0},
      {dual, 2, L"Paltalk US LLC", false, unset}, {single, 0, L"Paltalk US LLC", true, 0},
      {broken, 0, L"Paltalk US LLC", false, unset}, {unsigned_file, 0, L"Paltalk US LLC", false, unset},
  };
  for (const Case& c : cases) {
    std::uint32_t count = unset;
    EXPECT_EQ(signed_by_at(c.file, c.index, c.expected, &count), c.result) << test::narrowed(c.file) << c.index;
    EXPECT_EQ(count, c.count) << test::narrowed(c.file) << c.index;
    EXPECT_EQ(fake::signature_checks.back(), std::make_pair(c.file, std::optional<std::uint32_t>(c.index)));
  }
  EXPECT_TRUE(signed_by_at(dual, 0, L"Paltalk US LLC", nullptr));
}

}  // namespace
}  // namespace nv
