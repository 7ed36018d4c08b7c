#include "host/verdict.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cwctype>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "host/identification.h"
#include "installation.h"

namespace nv {
namespace {

const std::wstring select_host = L"Select the installed Paltalk.exe.";
const std::wstring host_not_x64 =
    L"This theme requires x64 Paltalk. Native ARM64 and 32-bit Paltalk are not supported.";
const std::wstring qt_missing = L"Required x64 Qt DLLs are missing from the Paltalk installation.";
const std::wstring qt_floor = L"This plugin requires release Qt 6.11.1 or newer within Qt 6.";
const std::wstring qt_mismatch = L"Paltalk's Qt DLL versions do not match. Repair Paltalk before installing the theme.";
constexpr std::uint16_t machine_i386 = 0x014C, machine_arm64 = 0xAA64;

using test::set_signer;
using test::set_version;
using test::Version;

// A good x64 host at Qt 6.11.1.0, unsigned and not listed in compatibility.ini;
// the scriptable platform starts afresh before it is made.
struct Host {
  static bool fresh_platform() { return fake::reset_all(), reset_process_values(), true; }
  bool fresh = fresh_platform();
  test::Installation installation;
  const std::wstring &exe = installation.exe, &core = installation.core, &gui = installation.gui,
                     &widgets = installation.widgets;
  const std::wstring host = parent_of(exe);

  static void image(const std::wstring& path, std::uint16_t machine) {
    test::write_bytes(path, test::pe_image(machine, test::narrowed(path)));
  }
  static void remove(const std::wstring& path) { std::filesystem::remove(test::to_fs(path)); }
  void write_tested(const std::wstring& hashes) const {
    test::write_bytes(install_root + L"\\compatibility.ini",
                      "[Other]\r\nHashes=x\r\n[Tested]\r\nHashes=" + test::narrowed(hashes) + "\r\n");
  }
};

TEST(VerdictWord, UnanalyzedIsUnavailableWhateverTheOtherFlags) {
  HostAnalysis analysis;
  analysis.recognized = analysis.compatible = true;
  EXPECT_EQ(verdict_word(analysis), L"unavailable");
}

// Shapes the installation and names the path to analyze.
using Arrange = std::function<std::wstring(Host&)>;

// Alters library `index` of the list; the host is analyzed.
Arrange library(int index, std::function<void(const std::wstring&)> alter) {
  return [=](Host& h) {
    alter(index == 0 ? h.core : index == 1 ? h.gui : h.widgets);
    return h.exe;
  };
}

TEST(AnalyzeHost, RefusesAtTheFirstFailingTestWithItsSentence) {
  struct Case {
    std::string name;
    Arrange arrange;
    std::wstring message;
    const wchar_t *host_version, *qt_version;  // what was learnt before the refusal
  };
  const wchar_t *v = L"21.4.7.3", *qt = L"6.11.1.0";
  std::vector<Case> cases = {
      {"directory", [](Host& h) { return h.host + L"\\Dir\\Paltalk.exe"; }, select_host, L"", L""},
      {"missing file", [](Host& h) { return h.host + L"\\Missing\\Paltalk.exe"; }, select_host, L"", L""},
      {"another name", [](Host& h) { return h.host + L"\\Paltalk.exe.bak"; }, select_host, L"", L""},
      {"a library", [](Host& h) { return h.core; }, select_host, L"", L""},
      // The host's own tests come before any library is looked at.
      {"x86 host", [](Host& h) { Host::remove(h.core), Host::image(h.exe, machine_i386); return h.exe; },
       host_not_x64, L"", L""},
      {"ARM64 host", [](Host& h) { Host::image(h.exe, machine_arm64); return h.exe; }, host_not_x64, L"", L""},
      {"text file named like the host", [](Host& h) { test::write_bytes(h.exe, "MZ, a text file\r\n"); return h.exe; },
       host_not_x64, L"", L""},
      {"Qt6Core under the floor before Qt6Gui missing",
       [](Host& h) { set_version(h.core, {6, 10, 0, 0}), Host::remove(h.gui); return h.exe; }, qt_floor, v, L""},
      {"Qt6Gui missing before Qt6Widgets differs",
       [](Host& h) { Host::remove(h.gui), set_version(h.widgets, {6, 11, 1, 1}); return h.exe; }, qt_missing, v, qt},
      // No version resource reads as 0.0.0.0: the floor, not the presence.
      {"Qt6Widgets without version",
       [](Host& h) { fake::fixed_file_infos.erase(folded_path(h.widgets)); return h.exe; }, qt_floor, v, qt},
      {"Qt6Widgets differs in the fourth number", [](Host& h) { set_version(h.widgets, {6, 11, 1, 1}); return h.exe; },
       qt_mismatch, v, qt},
      {"Qt6Gui differs", [](Host& h) { set_version(h.gui, {6, 12, 0, 0}); return h.exe; }, qt_mismatch, v, qt},
  };
  const std::pair<const char*, Version> below_floor[] = {
      {"6.11.0.9", {6, 11, 0, 9}}, {"7.0.0.0", {7, 0, 0, 0}},         {"5.15.2.0", {5, 15, 2, 0}},
      {"debug", {6, 11, 1, 0, true}}, {"0.0.0.0", {0, 0, 0, 0}},
  };
  for (int i = 0; i < 3; ++i) {
    const std::string name = "library " + std::to_string(i);
    const wchar_t* learnt = i == 0 ? L"" : qt;
    for (std::uint16_t machine : {std::uint16_t{0}, machine_i386, machine_arm64}) {  // 0: missing
      const auto alter = [=](const std::wstring& file) { machine ? Host::image(file, machine) : Host::remove(file); };
      cases.push_back({name + " machine " + std::to_string(machine), library(i, alter), qt_missing, v, learnt});
    }
    for (const auto& floor_case : below_floor) {
      const auto alter = [low = floor_case.second](const std::wstring& file) { set_version(file, low); };
      cases.push_back({name + " at " + floor_case.first, library(i, alter), qt_floor, v, learnt});
    }
  }
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Host h;
    std::filesystem::create_directories(test::to_fs(h.host + L"\\Dir\\Paltalk.exe"));
    Host::image(h.host + L"\\Paltalk.exe.bak", machine_amd64);
    // A refusal that hashed anything would take many seconds over a host this
    // large (sparse, so only reading it costs), or raise over a missing file.
    std::filesystem::resize_file(test::to_fs(h.exe), std::uintmax_t{16} << 30);
    const std::wstring path = c.arrange(h);
    const auto start = std::chrono::steady_clock::now();
    const HostAnalysis analysis = analyze_host(path);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
    EXPECT_EQ(analysis.message, c.message);
    EXPECT_FALSE(analysis.analyzed || analysis.recognized || analysis.compatible);
    EXPECT_EQ(verdict_word(analysis), L"unavailable");
    EXPECT_EQ(analysis.hashes, L"");
    EXPECT_EQ(analysis.exe_path, normal_path(path));
    EXPECT_EQ(analysis.host_version, c.host_version);
    EXPECT_EQ(analysis.qt_version, c.qt_version);
  }
}

TEST(AnalyzeHost, PassesTheFloorAndHashesTheFourFilesInListOrder) {
  // The host's name in capitals, and no version of its own: neither is refused.
  Host h;
  const std::wstring hashes = h.installation.hashes(), capitals = h.host + L"\\PALTALK.EXE";
  std::filesystem::rename(test::to_fs(h.exe), test::to_fs(capitals));
  fake::fixed_file_infos.erase(folded_path(capitals));
  for (const Version version : {Version{6, 12, 0, 0}, Version{6, 99, 0, 0}, Version{6, 11, 1, 0}}) {
    for (const auto& library : {h.core, h.gui, h.widgets}) set_version(library, version);
    EXPECT_TRUE(analyze_host(capitals).analyzed) << version.minor;
  }
  const HostAnalysis analysis = analyze_host(capitals);
  EXPECT_EQ(analysis.hashes, hashes);
  EXPECT_EQ(analysis.exe_path, normal_path(capitals));
  EXPECT_EQ(analysis.host_version, L"0.0.0.0");
  EXPECT_EQ(analysis.qt_version, L"6.11.1.0");
  EXPECT_EQ(verdict_word(analysis), L"unrecognized");  // unsigned and not tested
  EXPECT_EQ(analysis.message, L"Automatic compatibility could not be verified. Use Normal Mode or explicitly approve "
                              L"this exact build.");
}

TEST(AnalyzeHost, RecognizesExactlyTheTestedListElseNeedsSignatures) {
  Host h;
  h.installation.sign();
  const std::wstring all = h.installation.hashes();
  h.write_tested(all);
  HostAnalysis analysis = analyze_host(h.exe);
  EXPECT_EQ(verdict_word(analysis), L"recognized");
  EXPECT_TRUE(analysis.compatible);
  EXPECT_EQ(analysis.message, L"Recognized build; camera fix still needs live hardware validation.");
  // A recognized build needs no signature, so none is looked at.
  EXPECT_TRUE(fake::signature_checks.empty());

  std::wstring upper = all;
  for (auto& c : upper) c = static_cast<wchar_t>(towupper(c));
  const std::wstring swapped = all.substr(65, 65) + all.substr(0, 64) + all.substr(129);
  for (const std::wstring& listed :
       {upper, swapped, all.substr(0, 194), all + L"|", std::wstring(), std::wstring(L"no file")}) {
    if (listed == L"no file") Host::remove(install_root + L"\\compatibility.ini");
    else h.write_tested(listed);
    analysis = analyze_host(h.exe);
    // Signed by the right parties: an untested build is still a compatible update.
    EXPECT_EQ(verdict_word(analysis), L"compatible-update") << test::narrowed(listed);
    EXPECT_EQ(analysis.message, L"Compatible signed update; continuing dark mode with best-effort compatibility.");
  }
}

// Unrecognized builds rest on this alone: what fails here ends as "unrecognized".
TEST(AnalyzeHost, IsSignedUpdateWantsTheRightSignersAndEqualRawVersionsOfReleaseLibraries) {
  std::vector<std::pair<std::string, Arrange>> refused = {
      {"host signed by someone else", [](Host& h) { set_signer(h.exe, L"Someone Else"); return h.exe; }},
      {"signers swapped",
       [](Host& h) { set_signer(h.exe, L"The QT Company Oy"), set_signer(h.core, L"Paltalk US LLC"); return h.exe; }},
      {"fourth number differs", [](Host& h) { set_version(h.widgets, {6, 11, 1, 1}); return h.exe; }},
      {"debug Qt6Gui", [](Host& h) { set_version(h.gui, {6, 11, 1, 0, true}); return h.exe; }},
      {"ARM64 host", [](Host& h) { Host::image(h.exe, machine_arm64); return h.exe; }},
      {"another name", [](Host& h) { return h.host + L"\\Other.exe"; }},
  };
  for (int i = 0; i < 3; ++i)
    refused.emplace_back("library " + std::to_string(i) + " signed by someone else",
                         library(i, [](const std::wstring& file) { set_signer(file, L"Someone Else"); }));
  for (const auto& [name, arrange] : refused) {
    Host h;
    h.installation.sign();
    Host::image(h.host + L"\\Other.exe", machine_amd64);
    set_signer(h.host + L"\\Other.exe", L"Paltalk US LLC");
    HostAnalysis record;
    record.exe_path = h.exe;
    EXPECT_TRUE(is_signed_update(record));
    record.exe_path = arrange(h);
    EXPECT_FALSE(is_signed_update(record)) << name;
  }
}

}  // namespace
}  // namespace nv
