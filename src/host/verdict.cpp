#include "host/verdict.h"

#include <array>
#include <future>
#include <utility>

#include "foundation/paths.h"
#include "foundation/sentences.h"
#include "host/identification.h"
#include "host/ini.h"
#include "foundation/process_values.h"

namespace nv {
namespace {

const wchar_t* const qt_libraries[] = {L"Qt6Core.dll", L"Qt6Gui.dll", L"Qt6Widgets.dll"};
// Who signs a genuine later release: the host's publisher, and Qt's for the libraries.
const wchar_t* const host_signer = L"Paltalk US LLC";
const wchar_t* const qt_signer = L"The QT Company Oy";

// The plugin needs a release Qt from 6.11.1 up to, not including, 7; the
// fourth number never matters.
bool meets_qt_floor(const FileVersion& version) {
  if (version.debug || version.major != 6) return false;
  return version.minor > 11 || (version.minor == 11 && version.build >= 1);
}

// The sentence that refuses a library, or nullptr when it may be themed.
const wchar_t* refusal_of(const QtLibrary& library) {
  if (!library.regular_file || library.machine != machine_amd64) return sentence::qt_missing;
  if (!meets_qt_floor(library.version)) return sentence::qt_below_floor;
  return nullptr;
}

HostAnalysis refused(HostAnalysis analysis, const wchar_t* message) {
  analysis.message = message;
  return analysis;
}

}  // namespace

HostAnalysis analyze_host(std::wstring path) {
  HostAnalysis analysis;
  analysis.exe_path = normal_path(path);
  if (!is_regular_file(analysis.exe_path) || !same_name(name_of(analysis.exe_path), host_file_name))
    return refused(std::move(analysis), sentence::select_host);
  if (read_pe_machine(analysis.exe_path) != machine_amd64)
    return refused(std::move(analysis), sentence::host_not_x64);
  // Recorded for the report, not judged: a host without a version resource goes on.
  analysis.host_version = version_text(read_file_version(analysis.exe_path));

  const std::wstring folder = parent_of(analysis.exe_path);
  const std::array<std::wstring, 4> files = {
      analysis.exe_path, append_path(folder, qt_libraries[0]), append_path(folder, qt_libraries[1]),
      append_path(folder, qt_libraries[2])};
  // Every library's version block was whole; only a signed update asks.
  bool whole_version_blocks = true;
  for (std::size_t i = 1; i < files.size(); ++i) {
    const QtLibrary library = read_qt_library(files[i]);
    if (const wchar_t* refusal = refusal_of(library)) return refused(std::move(analysis), refusal);
    const std::wstring text = version_text(library.version);
    if (i == 1) {
      analysis.qt_version = text;
    } else if (text != analysis.qt_version) {
      return refused(std::move(analysis), sentence::qt_mismatch);
    }
    whole_version_blocks = whole_version_blocks && library.whole_version_block;
  }

  // Only a build that passed every test above is hashed, all four files side by side.
  std::array<std::future<std::wstring>, 4> digests;
  for (std::size_t i = 0; i < files.size(); ++i)
    digests[i] = std::async(std::launch::async, file_fingerprint, files[i]);
  // Every task has finished before anything leaves, a failure included.
  for (auto& digest : digests) digest.wait();
  std::wstring hashes;
  for (std::size_t i = 0; i < digests.size(); ++i) {
    if (i > 0) hashes += L'|';
    hashes += digests[i].get();
  }
  analysis.hashes = std::move(hashes);
  analysis.analyzed = true;

  // Exactly one tested build, compared as written: nothing is folded.
  analysis.recognized =
      analysis.hashes == read_ini_value(compatibility_path(), L"Tested", L"Hashes");
  // A recognized build needs no signature. Any other is a genuine later release only when its
  // publishers signed every file, as the files are now.
  const auto signed_update = [&] {
    if (!whole_version_blocks || !signed_by(files[0], host_signer)) return false;
    for (std::size_t i = 1; i < files.size(); ++i)
      if (!signed_by(files[i], qt_signer)) return false;
    return true;
  };
  analysis.compatible = analysis.recognized || signed_update();
  analysis.message = analysis.recognized   ? sentence::recognized_build
                     : analysis.compatible ? sentence::signed_update
                                           : sentence::unverified_build;
  return analysis;
}

std::wstring verdict_word(const HostAnalysis& analysis) {
  if (!analysis.analyzed) return L"unavailable";
  if (analysis.recognized) return L"recognized";
  if (analysis.compatible) return L"compatible-update";
  return L"unrecognized";
}

}  // namespace nv
