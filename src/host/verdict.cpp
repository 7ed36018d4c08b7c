#include "host/verdict.h"

#include <array>
#include <cstdint>
#include <exception>
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

// The plugin needs a release Qt from 6.11.1 up to, not including, 7; the
// fourth number never matters.
bool meets_qt_floor(const FileVersion& version) {
  if (version.debug || version.major != 6) return false;
  return version.minor > 11 || (version.minor == 11 && version.build >= 1);
}

HostAnalysis refused(HostAnalysis analysis, const wchar_t* message) {
  analysis.message = message;
  return analysis;
}

}  // namespace

HostAnalysis analyze_host(std::wstring path) {
  HostAnalysis analysis;
  analysis.exe_path = normal_path(path);
  if (!is_regular_file(analysis.exe_path) ||
      fold_ascii(name_of(analysis.exe_path)) != L"paltalk.exe")
    return refused(std::move(analysis), sentence::select_host);
  if (read_pe_machine(analysis.exe_path) != machine_amd64)
    return refused(std::move(analysis), sentence::host_not_x64);
  // Recorded for the report, not judged: a host without a version resource goes on.
  analysis.host_version = version_text(read_file_version(analysis.exe_path));

  const std::wstring folder = parent_of(analysis.exe_path);
  const std::array<std::wstring, 4> files = {
      analysis.exe_path, append_path(folder, qt_libraries[0]), append_path(folder, qt_libraries[1]),
      append_path(folder, qt_libraries[2])};
  for (std::size_t i = 1; i < files.size(); ++i) {
    const std::wstring& library = files[i];
    if (!is_regular_file(library) || read_pe_machine(library) != machine_amd64)
      return refused(std::move(analysis), sentence::qt_missing);
    const FileVersion version = read_file_version(library);
    if (!meets_qt_floor(version)) return refused(std::move(analysis), sentence::qt_below_floor);
    const std::wstring text = version_text(version);
    if (i == 1) {
      analysis.qt_version = text;
    } else if (text != analysis.qt_version) {
      return refused(std::move(analysis), sentence::qt_mismatch);
    }
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
  // A recognized build needs no signature.
  analysis.compatible = analysis.recognized || is_signed_update(analysis);
  analysis.message = analysis.recognized   ? sentence::recognized_build
                     : analysis.compatible ? sentence::signed_update
                                           : sentence::unverified_build;
  return analysis;
}

bool is_signed_update(const HostAnalysis& analysis) {
  try {
    const std::wstring& exe = analysis.exe_path;
    if (fold_ascii(name_of(exe)) != L"paltalk.exe") return false;
    if (read_pe_machine(exe) != machine_amd64) return false;
    if (!signed_by(exe, L"Paltalk US LLC")) return false;
    const std::wstring folder = parent_of(exe);
    std::uint32_t first_ms = 0, first_ls = 0;
    for (std::size_t i = 0; i < 3; ++i) {
      const std::wstring library = append_path(folder, qt_libraries[i]);
      std::uint32_t version_ms = 0, version_ls = 0;
      if (!check_qt_dll(library, version_ms, version_ls)) return false;
      if (!signed_by(library, L"The QT Company Oy")) return false;
      if (i == 0) {
        first_ms = version_ms;
        first_ls = version_ls;
      } else if (version_ms != first_ms || version_ls != first_ls) {
        return false;
      }
    }
    return true;
  } catch (const std::exception&) {
    // An unreadable file and a wrong signer look alike: not a signed update.
    return false;
  }
}

std::wstring verdict_word(const HostAnalysis& analysis) {
  if (!analysis.analyzed) return L"unavailable";
  if (analysis.recognized) return L"recognized";
  if (analysis.compatible) return L"compatible-update";
  return L"unrecognized";
}

}  // namespace nv
