#pragma once
// A scratch launcher folder and, beside it, a host installation made of
// minimal x64 images whose version resources and signatures come from the
// scriptable platform.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "foundation/encoding.h"
#include "foundation/paths.h"
#include "host/host_analysis.h"
#include "foundation/process_values.h"
#include "platform/fake/fake_control.h"
#include "test_support.h"

namespace nv::test {

// A test that starts like a fresh process: no scripted platform answers, no
// process-wide values left by an earlier test.
class FreshProcessTest : public testing::Test {
 protected:
  FreshProcessTest() {
    fake::reset_all();
    reset_process_values();
  }
  ~FreshProcessTest() override { reset_process_values(); }
};

// A launcher in a scratch folder about to start a host that was analysed elsewhere.
class StartingHostTest : public FreshProcessTest {
 protected:
  StartingHostTest() {
    install_root = dir.path();
    analysis.exe_path = L"C:\\P\\Paltalk.exe";
    analysis.hashes = L"h1|h2|h3|h4";
  }
  TempDir dir;
  HostAnalysis analysis;
};

// The least a file needs to name its processor: a DOS header pointing at the
// PE signature and the file header's machine word; `body` makes files differ.
inline std::string pe_image(std::uint16_t machine, const std::string& body) {
  std::string bytes(64, '\0');
  bytes[0] = 'M';
  bytes[1] = 'Z';
  bytes[60] = 64;
  bytes += std::string("PE\0\0", 4);
  std::string file_header(20, '\0');
  file_header[0] = static_cast<char>(machine & 0xFF);
  file_header[1] = static_cast<char>(machine >> 8);
  return bytes + file_header + body;
}

struct Version {
  std::uint32_t major, minor, build, revision;
  bool debug = false;
};

inline void set_version(const std::wstring& path, Version v) {
  platform::FixedFileInfo info;
  info.found = true;
  info.length = 52;
  info.version_ms = (v.major << 16) | v.minor;
  info.version_ls = (v.build << 16) | v.revision;
  info.flags = v.debug ? 1u : 0u;
  fake::fixed_file_infos[folded_path(path)] = info;
}

inline void set_signer(const std::wstring& path, const std::wstring& signer) {
  fake::signatures[{folded_path(path), 0}] = platform::SignatureCheck{true, true, signer, 0};
}

inline std::wstring widened(const std::string& ascii) { return std::wstring(ascii.begin(), ascii.end()); }
inline std::string narrowed(const std::wstring& ascii) {
  std::string out;
  for (wchar_t c : ascii) out += static_cast<char>(c);
  return out;
}

// install_root is <dir>\Tenebrix with its plugin; the host is <dir>\Paltalk at Qt 6.11.1.0.
struct Installation {
  TempDir dir;
  std::wstring exe, core, gui, widgets;

  Installation() {
    install_root = dir / L"Tenebrix";
    write_bytes(install_root + L"\\plugins\\styles\\Nightveil.dll", "plugin");
    exe = dir / L"Paltalk\\Paltalk.exe";
    core = dir / L"Paltalk\\Qt6Core.dll";
    gui = dir / L"Paltalk\\Qt6Gui.dll";
    widgets = dir / L"Paltalk\\Qt6Widgets.dll";
    for (const auto& file : {exe, core, gui, widgets}) write_bytes(file, pe_image(0x8664, narrowed(file)));
    script_versions();
  }
  // Again after fake::reset_all().
  void script_versions() const {
    set_version(exe, {21, 4, 7, 3});
    for (const auto& library : {core, gui, widgets}) set_version(library, {6, 11, 1, 0});
  }
  std::wstring hashes() const {
    return widened(sha256_file_hex(exe)) + L"|" + widened(sha256_file_hex(core)) + L"|" +
           widened(sha256_file_hex(gui)) + L"|" + widened(sha256_file_hex(widgets));
  }
  // The build becomes the tested one.
  void recognize() const {
    write_bytes(install_root + L"\\compatibility.ini", "[Tested]\r\nHashes=" + narrowed(hashes()) + "\r\n");
  }
  void sign() const {
    set_signer(exe, L"Paltalk US LLC");
    for (const auto& library : {core, gui, widgets}) set_signer(library, L"The QT Company Oy");
  }
};

}  // namespace nv::test
