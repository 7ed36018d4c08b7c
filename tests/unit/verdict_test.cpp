#include "host/verdict.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <cwctype>
#include <filesystem>
#include <string>
#include <vector>

#include "foundation/encoding.h"
#include "foundation/paths.h"
#include "host/identification.h"
#include "installation.h"
#include "launcher/process_values.h"
#include "platform/fake/fake_control.h"
#include "test_support.h"

namespace nv {
namespace {

constexpr std::uint16_t machine_i386 = 0x014C;
constexpr std::uint16_t machine_arm64 = 0xAA64;

const std::wstring select_host = L"Select the installed Paltalk.exe.";
const std::wstring host_not_x64 =
    L"This theme requires x64 Paltalk. Native ARM64 and 32-bit Paltalk are not supported.";
const std::wstring qt_missing = L"Required x64 Qt DLLs are missing from the Paltalk installation.";
const std::wstring qt_floor = L"This plugin requires release Qt 6.11.1 or newer within Qt 6.";
const std::wstring qt_mismatch = L"Paltalk's Qt DLL versions do not match. Repair Paltalk before installing the theme.";
const std::wstring recognized_build = L"Recognized build; camera fix still needs live hardware validation.";
const std::wstring signed_update = L"Compatible signed update; continuing dark mode with best-effort compatibility.";
const std::wstring unverified_build =
    L"Automatic compatibility could not be verified. Use Normal Mode or explicitly approve this exact build.";

using test::set_signer;
using test::set_version;
using test::Version;

// The scriptable platform starts afresh before the installation is made.
struct FreshPlatform {
  FreshPlatform() {
    fake::reset_all();
    reset_process_values();
  }
};

// The shared installation: a launcher folder (install_root) and beside it a
// good x64 host at Qt 6.11.1.0, unsigned and not listed in compatibility.ini.
class AnalyzeHostTest : public testing::Test {
 protected:
  static void write_image(const std::wstring& path, std::uint16_t machine) {
    test::write_bytes(path, test::pe_image(machine, test::narrowed(path)));
  }
  void write_tested(const std::wstring& hashes) {
    test::write_bytes(install_root + L"\\compatibility.ini",
                      "[Other]\r\nHashes=x\r\n[Tested]\r\nHashes=" + test::narrowed(hashes) + "\r\n");
  }
  std::vector<std::wstring> digests() const {
    std::vector<std::wstring> all;
    for (const auto& file : {exe, core, gui, widgets}) all.push_back(test::widened(sha256_file_hex(file)));
    return all;
  }
  static std::wstring joined(const std::vector<std::wstring>& parts) {
    std::wstring text;
    for (const auto& part : parts) text += (text.empty() ? L"" : L"|") + part;
    return text;
  }

  FreshPlatform fresh;
  test::Installation installation;
  test::TempDir& dir = installation.dir;
  const std::wstring host = parent_of(installation.exe);
  const std::wstring &exe = installation.exe, &core = installation.core, &gui = installation.gui,
                     &widgets = installation.widgets;
};

void expect_refused(const HostAnalysis& analysis, const std::wstring& message) {
  EXPECT_EQ(analysis.message, message);
  EXPECT_FALSE(analysis.analyzed);
  EXPECT_FALSE(analysis.recognized);
  EXPECT_FALSE(analysis.compatible);
  EXPECT_EQ(analysis.hashes, L"");
  EXPECT_EQ(verdict_word(analysis), L"unavailable");
}

TEST(VerdictWord, FollowsTheFlagsInOrder) {
  struct Case {
    bool analyzed, recognized, compatible;
    const wchar_t* word;
  };
  for (const Case& c : {Case{false, false, false, L"unavailable"}, Case{false, true, true, L"unavailable"},
                        Case{true, true, true, L"recognized"}, Case{true, false, true, L"compatible-update"},
                        Case{true, false, false, L"unrecognized"}}) {
    HostAnalysis analysis;
    analysis.analyzed = c.analyzed;
    analysis.recognized = c.recognized;
    analysis.compatible = c.compatible;
    EXPECT_EQ(verdict_word(analysis), c.word) << c.analyzed << c.recognized << c.compatible;
  }
}

TEST_F(AnalyzeHostTest, RefusesADirectoryAMissingFileAndAnotherName) {
  const std::wstring folder_named_like_host = dir / L"Folder\\Paltalk.exe";
  std::filesystem::create_directories(test::to_fs(folder_named_like_host));
  const std::wstring other_name = host + L"\\Paltalk.exe.bak";
  write_image(other_name, machine_amd64);
  for (const auto& path : {folder_named_like_host, dir / L"Missing\\Paltalk.exe", other_name, core}) {
    const HostAnalysis analysis = analyze_host(path);
    expect_refused(analysis, select_host);
    EXPECT_EQ(analysis.exe_path, normal_path(path));
    EXPECT_EQ(analysis.host_version, L"");
    EXPECT_EQ(analysis.qt_version, L"");
  }
}

TEST_F(AnalyzeHostTest, RefusesAHostThatIsNotX64) {
  for (std::uint16_t machine : {machine_i386, machine_arm64}) {
    write_image(exe, machine);
    expect_refused(analyze_host(exe), host_not_x64);
  }
  test::write_bytes(exe, "MZ is not enough: this is a text file that bears the host's name.\r\n");
  const HostAnalysis analysis = analyze_host(exe);
  expect_refused(analysis, host_not_x64);
  EXPECT_EQ(analysis.host_version, L"");
}

TEST_F(AnalyzeHostTest, HostTestsComeBeforeLibraryTests) {
  write_image(exe, machine_i386);
  std::filesystem::remove(test::to_fs(core));
  expect_refused(analyze_host(exe), host_not_x64);
}

TEST_F(AnalyzeHostTest, RefusesMissingOrForeignLibrariesWithOneSentence) {
  for (const auto& library : {core, gui, widgets}) {
    SCOPED_TRACE(test::to_fs(library).filename().string());
    std::filesystem::remove(test::to_fs(library));
    HostAnalysis analysis = analyze_host(exe);
    expect_refused(analysis, qt_missing);
    EXPECT_EQ(analysis.host_version, L"21.4.7.3");
    for (std::uint16_t machine : {machine_i386, machine_arm64}) {
      write_image(library, machine);
      expect_refused(analyze_host(exe), qt_missing);
    }
    write_image(library, machine_amd64);
  }
}

TEST_F(AnalyzeHostTest, LibraryTestsFollowTheListOrder) {
  // Core under the floor is found before Gui is missing; Gui missing before Widgets differs.
  set_version(core, {6, 10, 0, 0});
  std::filesystem::remove(test::to_fs(gui));
  expect_refused(analyze_host(exe), qt_floor);
  set_version(core, {6, 11, 1, 0});
  set_version(widgets, {6, 11, 1, 1});
  expect_refused(analyze_host(exe), qt_missing);
}

TEST_F(AnalyzeHostTest, AppliesTheQtFloorToEveryLibrary) {
  struct Case {
    Version version;
    bool passes;
  };
  const Case cases[] = {
      {{6, 11, 0, 9}, false}, {{6, 11, 1, 0}, true},  {{6, 12, 0, 0}, true},         {{6, 99, 0, 0}, true},
      {{7, 0, 0, 0}, false},  {{5, 15, 2, 0}, false}, {{6, 11, 1, 0, true}, false}, {{0, 0, 0, 0}, false},
  };
  for (const auto& library : {core, gui, widgets}) {
    for (const Case& c : cases) {
      const Version v = c.version;
      SCOPED_TRACE(testing::Message() << test::to_fs(library).filename().string() << " " << v.major << "." << v.minor
                                      << "." << v.build << "." << v.revision << (v.debug ? " debug" : ""));
      // A passing version must be shared by all three; a failing one is met
      // beside good libraries, so that this library is the one refused.
      for (const auto& each : {core, gui, widgets}) set_version(each, c.passes ? v : Version{6, 11, 1, 0});
      set_version(library, v);
      const HostAnalysis analysis = analyze_host(exe);
      if (c.passes) {
        EXPECT_NE(analysis.message, qt_floor);
        EXPECT_TRUE(analysis.analyzed);
      } else {
        expect_refused(analysis, qt_floor);
      }
    }
    set_version(library, {6, 11, 1, 0});
  }
}

TEST_F(AnalyzeHostTest, ALibraryWithoutVersionFailsTheFloorNotThePresence) {
  fake::fixed_file_infos.erase(folded_path(widgets));
  const HostAnalysis analysis = analyze_host(exe);
  expect_refused(analysis, qt_floor);
  EXPECT_EQ(analysis.qt_version, L"6.11.1.0");
}

TEST_F(AnalyzeHostTest, LibrariesMustMatchInAllFourNumbers) {
  set_version(widgets, {6, 11, 1, 1});
  const HostAnalysis analysis = analyze_host(exe);
  expect_refused(analysis, qt_mismatch);
  EXPECT_EQ(analysis.qt_version, L"6.11.1.0");
  EXPECT_EQ(analysis.host_version, L"21.4.7.3");
  set_version(widgets, {6, 11, 1, 0});
  set_version(gui, {6, 12, 0, 0});
  expect_refused(analyze_host(exe), qt_mismatch);
}

TEST_F(AnalyzeHostTest, HashesTheFourFilesInListOrder) {
  const HostAnalysis analysis = analyze_host(exe);
  EXPECT_TRUE(analysis.analyzed);
  EXPECT_EQ(analysis.hashes, joined(digests()));
  EXPECT_EQ(analysis.hashes.size(), 259u);
  EXPECT_EQ(analysis.exe_path, normal_path(exe));
  EXPECT_EQ(analysis.host_version, L"21.4.7.3");
  EXPECT_EQ(analysis.qt_version, L"6.11.1.0");
  // Unsigned and not tested.
  EXPECT_FALSE(analysis.recognized);
  EXPECT_FALSE(analysis.compatible);
  EXPECT_EQ(analysis.message, unverified_build);
  EXPECT_EQ(verdict_word(analysis), L"unrecognized");
}

TEST_F(AnalyzeHostTest, AcceptsTheHostNameInCapitalsAndAHostWithoutVersion) {
  const std::wstring capitals = host + L"\\PALTALK.EXE";
  std::filesystem::rename(test::to_fs(exe), test::to_fs(capitals));
  fake::fixed_file_infos.erase(folded_path(capitals));
  const HostAnalysis analysis = analyze_host(capitals);
  EXPECT_TRUE(analysis.analyzed) << std::string(analysis.message.begin(), analysis.message.end());
  EXPECT_EQ(analysis.host_version, L"0.0.0.0");
  EXPECT_EQ(analysis.qt_version, L"6.11.1.0");
}

TEST_F(AnalyzeHostTest, RecognizesExactlyTheTestedList) {
  installation.sign();
  const std::vector<std::wstring> d = digests();
  write_tested(joined(d));
  HostAnalysis analysis = analyze_host(exe);
  EXPECT_TRUE(analysis.recognized);
  EXPECT_TRUE(analysis.compatible);
  EXPECT_EQ(analysis.message, recognized_build);
  EXPECT_EQ(verdict_word(analysis), L"recognized");
  // A recognized build needs no signature, so none is looked at.
  EXPECT_TRUE(fake::signature_checks.empty());

  std::wstring upper = joined(d);
  for (auto& c : upper) c = static_cast<wchar_t>(towupper(c));
  for (const std::wstring& listed :
       {upper, joined({d[1], d[0], d[2], d[3]}), joined({d[0], d[1], d[2]}), joined(d) + L"|", std::wstring()}) {
    write_tested(listed);
    analysis = analyze_host(exe);
    EXPECT_TRUE(analysis.analyzed);
    EXPECT_FALSE(analysis.recognized) << std::string(listed.begin(), listed.end());
    // Signed by the right parties: an untested build is still a compatible update.
    EXPECT_TRUE(analysis.compatible);
    EXPECT_EQ(analysis.message, signed_update);
  }
}

TEST_F(AnalyzeHostTest, AcceptsASignedUpdateWithoutCompatibilityFile) {
  installation.sign();
  const HostAnalysis analysis = analyze_host(exe);
  EXPECT_TRUE(analysis.analyzed);
  EXPECT_FALSE(analysis.recognized);
  EXPECT_TRUE(analysis.compatible);
  EXPECT_EQ(analysis.message, signed_update);
  EXPECT_EQ(verdict_word(analysis), L"compatible-update");
  EXPECT_FALSE(fake::signature_checks.empty());
}

TEST_F(AnalyzeHostTest, ALibrarySignedBySomeoneElseIsUnrecognized) {
  for (const auto& file : {exe, core, gui, widgets}) {
    fake::reset_all();
    for (const auto& library : {core, gui, widgets}) set_version(library, {6, 11, 1, 0});
    installation.sign();
    set_signer(file, L"Someone Else Ltd");
    const HostAnalysis analysis = analyze_host(exe);
    EXPECT_TRUE(analysis.analyzed);
    EXPECT_FALSE(analysis.compatible);
    EXPECT_EQ(analysis.message, unverified_build);
  }
  // The host and Qt have different signers: swapped names do not pass.
  set_signer(exe, L"The QT Company Oy");
  set_signer(core, L"Paltalk US LLC");
  EXPECT_FALSE(analyze_host(exe).compatible);
}

TEST_F(AnalyzeHostTest, IsSignedUpdateWantsEqualRawVersionsOfReleaseLibraries) {
  installation.sign();
  HostAnalysis record;
  record.exe_path = exe;
  EXPECT_TRUE(is_signed_update(record));
  set_version(widgets, {6, 11, 1, 1});
  EXPECT_FALSE(is_signed_update(record));
  set_version(widgets, {6, 11, 1, 0});
  set_version(gui, {6, 11, 1, 0, true});
  EXPECT_FALSE(is_signed_update(record));
  set_version(gui, {6, 11, 1, 0});
  write_image(exe, machine_arm64);
  EXPECT_FALSE(is_signed_update(record));
  write_image(exe, machine_amd64);
  record.exe_path = host + L"\\Other.exe";
  write_image(record.exe_path, machine_amd64);
  set_signer(record.exe_path, L"Paltalk US LLC");
  EXPECT_FALSE(is_signed_update(record));
}

TEST_F(AnalyzeHostTest, ARefusedBuildIsNotHashed) {
  // Hashing the missing library would raise instead of answering.
  std::filesystem::remove(test::to_fs(widgets));
  expect_refused(analyze_host(exe), qt_missing);

  // A refusal that waited for digests it threw away would take many seconds
  // over a host this large: the file is sparse, so only reading it costs.
  write_image(widgets, machine_amd64);
  std::filesystem::resize_file(test::to_fs(exe), std::uintmax_t{16} << 30);
  set_version(gui, {6, 11, 1, 0, true});
  const auto start = std::chrono::steady_clock::now();
  expect_refused(analyze_host(exe), qt_floor);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
}

}  // namespace
}  // namespace nv
