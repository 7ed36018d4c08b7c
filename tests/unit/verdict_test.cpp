// The verdict on one host installation: real files in a scratch folder, their version resources
// and signatures scripted.
#include <gtest/gtest.h>

#include "fake_platform.h"
#include "foundation/encoding.h"
#include "foundation/paths.h"
#include "foundation/process_values.h"
#include "foundation/sentences.h"
#include "host/verdict.h"
#include "test_support.h"

namespace nv {
namespace {

enum class File { none, host, core, gui, widgets };

struct Version {
  std::uint32_t major = 6, minor = 11, build = 1, revision = 0;
  bool debug = false;
};

// A row names what differs from an unsigned, untested build whose three Qt libraries are x64
// release images at 6.11.1.0, and the verdict if it is not that of an unverified build.
struct VerdictRow {
  const char* name;
  const wchar_t* host_name = L"Paltalk.exe";
  bool tested = false;                   // compatibility.ini lists this build's digests
  const wchar_t* host_signer = nullptr;  // who signed Paltalk.exe; nullptr: nobody
  const wchar_t* qt_signer = nullptr;    // who signed each Qt library; nullptr: nobody
  File signed_by_stranger = File::none;  // this library carries someone else's signature
  File not_an_image = File::none;        // this file holds "MZ" and nothing more
  File missing = File::none;             // this file is not there
  File other_version = File::core;       // this library is at `version`
  Version version = {};
  File short_version_block = File::none;  // this library reports 51 bytes of its fixed block
  const wchar_t* message = sentence::unverified_build;
};

struct Build {
  test::TempDir dir;
  std::wstring folder = dir / L"P";
  const ContextScope context{{.install_root = dir / L"T"}};

  explicit Build(const VerdictRow& row) {
    fake = {};
    for (const File file : {File::host, File::core, File::gui, File::widgets}) {
      if (file == row.missing) continue;
      const std::wstring path = path_of(file, row);
      test::write_bytes(
          path, file == row.not_an_image ? "MZ" : test::x64_image(test::to_fs(path).string()));
      const Version version = file == row.other_version ? row.version : Version{};
      const std::uint32_t length = file == row.short_version_block ? 51 : 52;
      fake.versions[folded_path(path)] = {true, length, version.major << 16 | version.minor,
                                          version.build << 16 | version.revision,
                                          version.debug ? 1u : 0u};
      const wchar_t* signer = file == File::host ? row.host_signer : row.qt_signer;
      if (file == row.signed_by_stranger) signer = L"Someone Else Ltd";
      if (signer) fake.signatures[{folded_path(path), 0}] = {true, true, signer};
    }
    if (row.tested) {
      const std::wstring hashes = analyze_host(path_of(File::host, row)).hashes;
      test::write_bytes(compatibility_path(), "[Tested]\r\nHashes=" + to_utf8(hashes) + "\r\n");
    }
  }
  std::wstring path_of(File file, const VerdictRow& row) const {
    switch (file) {
      case File::core:
        return folder + L"\\Qt6Core.dll";
      case File::gui:
        return folder + L"\\Qt6Gui.dll";
      case File::widgets:
        return folder + L"\\Qt6Widgets.dll";
      default:
        return folder + L"\\" + row.host_name;
    }
  }
};

const wchar_t* const host_signer = L"Paltalk US LLC";
const wchar_t* const qt_signer = L"The QT Company Oy";

TEST(Verdict, OfEachBuild) {
  const VerdictRow rows[] = {
      {.name = "unsigned and untested"},
      {.name = "tested", .tested = true, .message = sentence::recognized_build},
      {.name = "tested, never asked for its signatures, however short its version block",
       .tested = true,
       .short_version_block = File::gui,
       .message = sentence::recognized_build},
      {.name = "named in capitals", .host_name = L"PALTALK.EXE"},
      {.name = "another file name", .host_name = L"Paltalk2.exe", .message = sentence::select_host},
      {.name = "no host file", .missing = File::host, .message = sentence::select_host},
      {.name = "signed by both publishers",
       .host_signer = host_signer,
       .qt_signer = qt_signer,
       .message = sentence::signed_update},
      {.name = "signers' names in another case",
       .host_signer = L"paltalk us llc",
       .qt_signer = L"THE QT COMPANY OY",
       .message = sentence::signed_update},
      {.name = "host signer cut short", .host_signer = L"Paltalk US", .qt_signer = qt_signer},
      {.name = "host signer with more", .host_signer = L"Paltalk US LLC 2", .qt_signer = qt_signer},
      {.name = "host unsigned, Qt signed", .qt_signer = qt_signer},
      {.name = "host signed, Qt unsigned", .host_signer = host_signer},
      {.name = "host signed, one Qt library signed by someone else",
       .host_signer = host_signer,
       .qt_signer = qt_signer,
       .signed_by_stranger = File::widgets},
      {.name = "signed, but a library's version block is short",
       .host_signer = host_signer,
       .qt_signer = qt_signer,
       .short_version_block = File::widgets},
      {.name = "host not x64", .not_an_image = File::host, .message = sentence::host_not_x64},
      {.name = "library not x64", .not_an_image = File::widgets, .message = sentence::qt_missing},
      {.name = "a library missing", .missing = File::gui, .message = sentence::qt_missing},
      {.name = "below the floor in the third number",
       .version = {.build = 0, .revision = 9},
       .message = sentence::qt_below_floor},
      {.name = "below the floor in the second number",
       .other_version = File::gui,
       .version = {.minor = 10, .build = 5},
       .message = sentence::qt_below_floor},
      {.name = "Qt 7", .version = {.major = 7, .minor = 11}, .message = sentence::qt_below_floor},
      {.name = "Qt 5", .version = {.major = 5, .minor = 15}, .message = sentence::qt_below_floor},
      {.name = "a debug library at a good version",
       .other_version = File::widgets,
       .version = {.debug = true},
       .message = sentence::qt_below_floor},
      {.name = "a library newer than the others",
       .other_version = File::widgets,
       .version = {.minor = 12},
       .message = sentence::qt_mismatch},
      {.name = "a library differing in the fourth number alone",
       .other_version = File::gui,
       .version = {.revision = 1},
       .message = sentence::qt_mismatch},
  };
  for (const VerdictRow& row : rows) {
    Build build(row);
    const HostAnalysis analysis = analyze_host(build.path_of(File::host, row));
    EXPECT_EQ(analysis.message, row.message) << row.name;
  }
}

TEST(Verdict, WhatTheRecordHoldsAtEachStop) {
  {
    Build build(
        {.name = "a library at 6.11.1.1", .other_version = File::gui, .version = {.revision = 1}});
    const HostAnalysis mismatch = analyze_host(build.path_of(File::host, {}));
    EXPECT_EQ((std::tuple{mismatch.qt_version, mismatch.host_version, mismatch.hashes}),
              (std::tuple{std::wstring(L"6.11.1.0"), std::wstring(L"6.11.1.0"), std::wstring()}));
  }
  {
    Build build(
        {.name = "signed by both publishers", .host_signer = host_signer, .qt_signer = qt_signer});
    const HostAnalysis signed_update = analyze_host(build.folder + L"\\.\\Paltalk.exe");
    EXPECT_EQ(signed_update.exe_path, build.folder + L"\\Paltalk.exe");
    EXPECT_EQ(signed_update.hashes.size(), 4 * 64 + 3);
    EXPECT_EQ(verdict_word(signed_update), L"compatible-update");
  }
}

TEST(Verdict, WordOfEachRecord) {
  struct Row {
    bool analyzed = false, recognized = false, compatible = false;
    const wchar_t* word = nullptr;
  };
  const Row rows[] = {
      {.recognized = true, .compatible = true, .word = L"unavailable"},
      {.analyzed = true, .recognized = true, .compatible = true, .word = L"recognized"},
      {.analyzed = true, .compatible = true, .word = L"compatible-update"},
      {.analyzed = true, .word = L"unrecognized"},
  };
  for (const Row& row : rows) {
    HostAnalysis analysis;
    analysis.analyzed = row.analyzed;
    analysis.recognized = row.recognized;
    analysis.compatible = row.compatible;
    EXPECT_EQ(verdict_word(analysis), row.word);  // each row's word is its own
  }
}

}  // namespace
}  // namespace nv
