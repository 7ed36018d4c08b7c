// Host discovery against a scripted registry, known folders and dialogs, with
// real files in a scratch directory.
#include "host/discovery.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <utility>

#include "foundation/paths.h"
#include "foundation/process_values.h"
#include "platform/fake/dialogs_control.h"
#include "platform/fake/fake_control.h"
#include "platform/fake/known_folders_control.h"
#include "platform/fake/registry_control.h"
#include "test_support.h"

namespace nv {
namespace {

using platform::RegistryRoot;
using View = fake::RegistryView;
using Paths = std::vector<std::wstring>;

const std::wstring uninstall = L"Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall";

TEST(ParseCommandPath, Table) {
  const std::pair<const wchar_t*, const wchar_t*> cases[] = {
      {L"", L""}, {L"\"", L""}, {L"\"\"", L""}, {L"\"C:\\Paltalk\\uninst.exe", L""},  // no closing mark
      {L"\"C:\\Program Files\\Paltalk\\uninst.exe\" /S", L"C:\\Program Files\\Paltalk\\uninst.exe"},
      {L"\"C:\\Paltalk\\icon.ico\"", L"C:\\Paltalk\\icon.ico"},  // quoted: taken as it stands
      {L"C:\\Program Files\\Paltalk\\UNINST.EXE /S /Q", L"C:\\Program Files\\Paltalk\\UNINST.EXE"},
      {L"C:\\Tools.exe\\Paltalk\\uninst.exe", L"C:\\Tools.exe"},  // the first ".exe" cuts
      {L"C:\\Paltalk\\Paltalk.ex", L""}, {L" \"C:\\u.exe\"", L" \"C:\\u.exe"}};  // a quote only counts first
  for (const auto& [value, path] : cases) EXPECT_EQ(parse_command_path(value), path) << value;
}

TEST(CountsAsHostEntry, NeedsPaltalkAndNoDarkInAnyCase) {
  const std::pair<const wchar_t*, bool> cases[] = {
      {L"Paltalk Messenger 1.2", true}, {L"My pAlTaLk", true}, {L"PALTALK DARK", false},
      {L"darkpaltalk", false},          {L"Pal talk", false},  {L"", false}};
  for (const auto& [name, counts] : cases) EXPECT_EQ(counts_as_host_entry(name), counts) << name;
}

std::vector<std::uint8_t> utf16le(const std::wstring& text) {
  std::vector<std::uint8_t> bytes;
  for (const wchar_t c : text)
    bytes.insert(bytes.end(), {static_cast<std::uint8_t>(c & 0xFF), static_cast<std::uint8_t>((c >> 8) & 0xFF)});
  return bytes;
}

TEST(RegistryText, TextTypesOnlyEndingAtTheFirstNulAndExpandedWhenExpandable) {
  fake::reset_all();
  fake::environment_variables[L"ProgramFiles"] = L"C:\\Program Files";
  const std::wstring full(platform::registry_value_bytes / 2, L'x');
  const std::wstring expandable = L"%PROGRAMFILES%\\Paltalk %unknown%";
  const struct { const char* name; std::uint32_t type; std::vector<std::uint8_t> data; std::wstring text; } cases[] = {
      {"unterminated", platform::reg_sz, utf16le(L"no end"), L"no end"},
      {"inner NUL", platform::reg_sz, utf16le(std::wstring(L"first\0second", 12)), L"first"},
      {"empty", platform::reg_sz, {}, L""},
      {"odd byte count", platform::reg_sz, {'a', 0, 'b'}, L"ab"},
      {"beyond ASCII", platform::reg_sz, utf16le(L"\x00C4\xD83D\xDE00"), L"\x00C4\xD83D\xDE00"},
      {"full buffer loses its last unit", platform::reg_sz, utf16le(full), full.substr(1)},
      {"expandable", platform::reg_expand_sz, utf16le(expandable), L"C:\\Program Files\\Paltalk %unknown%"},
      {"plain text is not expanded", platform::reg_sz, utf16le(expandable), expandable},
      {"binary", platform::reg_binary, utf16le(L"text"), L""},
      {"multi", platform::reg_multi_sz, utf16le(L"text"), L""},
  };
  for (const auto& c : cases) EXPECT_EQ(registry_text({true, c.type, c.data}), c.text) << c.name;
  EXPECT_EQ(registry_text({false, platform::reg_sz, utf16le(L"text")}), L"");
}

class Discovery : public ::testing::Test {
 protected:
  void SetUp() override {
    fake::reset_all();
    reset_process_values();
  }
  // A Paltalk.exe in a folder under the scratch directory; its normal form.
  std::wstring make_host(const std::wstring& folder) {
    test::write_bytes(dir / (folder + L"\\Paltalk.exe"), "MZ");
    return normal_path(dir / (folder + L"\\Paltalk.exe"));
  }
  static void add_entry(RegistryRoot root, View view, const std::wstring& name,
                        const std::map<std::wstring, std::wstring>& values) {
    fake::add_registry_key(root, view, uninstall + L"\\" + name);
    for (const auto& [value_name, text] : values)
      fake::set_registry_text(root, view, uninstall + L"\\" + name, value_name, text);
  }
  test::TempDir dir;
};

TEST_F(Discovery, OneInstallationRegisteredEverywhereInAnySpellingIsOneEntryWithoutDialog) {
  const std::wstring host = make_host(L"Paltalk");
  const std::map<std::wstring, std::wstring> values{
      {L"DisplayName", L"Paltalk"},
      {L"InstallLocation", dir / L"Paltalk"},
      {L"DisplayIcon", L"\"" + (dir / L"Paltalk\\Paltalk.exe") + L"\",0"},
      {L"UninstallString", dir / L"Paltalk\\uninstall.exe /S"}};
  add_entry(RegistryRoot::local_machine, View::view32, L"Paltalk", values);
  add_entry(RegistryRoot::local_machine, View::view64, L"Paltalk", values);
  add_entry(RegistryRoot::local_machine, View::view64, L"Other spellings",
            {{L"DisplayName", L"Paltalk"}, {L"InstallLocation", dir / L"Sub\\..\\Paltalk\\"}});
  fake::known_folders[platform::KnownFolder::program_files] = dir.path();
  EXPECT_EQ(find_host_candidates(), Paths{host});
  EXPECT_EQ(choose_host(), host);
  silent_mode = true;
  EXPECT_EQ(choose_host(), host);
  EXPECT_TRUE(fake::dialog_sequence.empty());
}

TEST_F(Discovery, FormsDifferingInCaseAreOneEntryAndTheFirstStays) {
  // Two files where the file system tells case apart (natively), one where it
  // does not (Windows); one entry either way, as found first.
  const std::wstring lower = make_host(L"case");
  const std::wstring upper = make_host(L"CASE");
  for (bool upper_first : {true, false}) {
    fake::reset_all();
    for (const bool in_capitals : {upper_first, !upper_first})
      add_entry(RegistryRoot::current_user, View::view64, in_capitals == upper_first ? L"1" : L"2",
                {{L"DisplayName", L"Paltalk"}, {L"InstallLocation", dir / (in_capitals ? L"CASE" : L"case")}});
    EXPECT_EQ(find_host_candidates(), Paths{upper_first ? upper : lower}) << upper_first;
  }
}

TEST_F(Discovery, BareProgramNameIsLookedForInTheCurrentDirectory) {
  add_entry(RegistryRoot::local_machine, View::view64, L"Paltalk",
            {{L"DisplayName", L"Paltalk"}, {L"UninstallString", L"uninstall.exe /S"}});
  const std::wstring host = make_host(L"current");
  const auto saved = std::filesystem::current_path();
  std::filesystem::current_path(test::to_fs(dir.path()));
  const Paths in_empty = find_host_candidates();
  std::filesystem::current_path(test::to_fs(dir / L"current"));
  const Paths in_current = find_host_candidates();
  std::filesystem::current_path(saved);
  EXPECT_TRUE(in_empty.empty());
  EXPECT_EQ(in_current, Paths{host});
}

TEST_F(Discovery, RootsThenViewsThenFieldsThenKnownFoldersEachWithItsViewAndOnlyExistingHosts) {
  Paths expected;
  for (const wchar_t* folder : {L"User", L"Machine 32", L"Machine64", L"Icon", L"Uninstaller",
                                L"LocalAppData\\Paltalk", L"ProgramFiles\\Paltalk", L"ProgramFilesX86\\Paltalk"})
    expected.push_back(make_host(folder));
  make_host(L"Dark");
  test::write_bytes(dir / L"Registered\\other.exe", "MZ");
  test::write_bytes(dir / L"Folder\\Paltalk.exe\\inside.txt", "");  // a folder of that name
  fake::known_folders[platform::KnownFolder::program_files_x86] = dir / L"ProgramFilesX86";
  fake::known_folders[platform::KnownFolder::program_files] = dir / L"ProgramFiles";
  fake::known_folders[platform::KnownFolder::local_app_data] = dir / L"LocalAppData";
  add_entry(RegistryRoot::local_machine, View::view64, L"Paltalk",
            {{L"DisplayName", L"Paltalk"},
             {L"UninstallString", L"\"" + (dir / L"Uninstaller\\u.exe") + L"\""},
             {L"DisplayIcon", dir / L"Icon\\icon.exe,2"},
             {L"InstallLocation", dir / L"Machine64"}});
  add_entry(RegistryRoot::local_machine, View::view64, L"Theme",  // a real host, but a dark add-on's entry
            {{L"DisplayName", L"pALtalk DaRK Theme"}, {L"InstallLocation", dir / L"Dark"}});
  add_entry(RegistryRoot::local_machine, View::view32, L"Paltalk",  // an uninstaller beside the host
            {{L"DisplayName", L"Paltalk"},
             {L"UninstallString", L"\"" + (dir / L"Machine 32\\uninstall.exe") + L"\" /uninstall"}});
  add_entry(RegistryRoot::local_machine, View::view32, L"Stale",  // places without a Paltalk.exe file
            {{L"DisplayName", L"Paltalk"},
             {L"InstallLocation", dir / L"Registered"},
             {L"DisplayIcon", dir / L"Folder\\x.exe"},
             {L"UninstallString", dir / L"Nowhere\\uninstall.exe"}});
  add_entry(RegistryRoot::current_user, View::view64, L"Paltalk",
            {{L"DisplayName", L"PALTALK"}, {L"InstallLocation", dir / L"User"}});
  EXPECT_EQ(find_host_candidates(), expected);

  std::vector<std::pair<RegistryRoot, unsigned>> visits;
  for (const auto& open : fake::registry_opens) {
    const std::pair visit{open.root, open.access};
    if (fold_ascii(open.key) == fold_ascii(uninstall)) visits.push_back(visit);
    else EXPECT_TRUE(!visits.empty() && visit == visits.back()) << open.key;  // each read with its visit's view
  }
  const auto user = RegistryRoot::current_user, machine = RegistryRoot::local_machine;
  const unsigned v32 = platform::key_wow64_32key, v64 = platform::key_wow64_64key;
  EXPECT_EQ(visits, (decltype(visits){{user, v32}, {user, v64}, {machine, v32}, {machine, v64}}));
}

class ChooseHost : public Discovery {
 protected:
  void two_candidates() {
    first = make_host(L"First");
    second = make_host(L"Second\\Paltalk");
    add_entry(RegistryRoot::current_user, View::view64, L"Paltalk",
              {{L"DisplayName", L"Paltalk"}, {L"InstallLocation", dir / L"First"}});
    fake::known_folders[platform::KnownFolder::program_files] = dir / L"Second";
  }
  std::wstring first, second;
};

TEST_F(ChooseHost, NoneShowsTheMessageThenTheFileDialogUnlessSilent) {
  silent_mode = true;
  EXPECT_EQ(choose_host(), L"");
  EXPECT_TRUE(fake::dialog_sequence.empty());
  silent_mode = false;
  fake::file_dialog_answers = {L"Z:\\picked\\Paltalk.exe"};
  EXPECT_EQ(choose_host(), L"Z:\\picked\\Paltalk.exe");
  EXPECT_EQ(fake::dialog_sequence, (std::vector{fake::DialogKind::message_box, fake::DialogKind::file_open}));
  ASSERT_EQ(fake::message_boxes.size(), 1u);
  EXPECT_EQ(fake::message_boxes[0].text,
            L"Paltalk was not found. Install Paltalk first, or select an existing Paltalk.exe in the next dialog.");
  EXPECT_EQ(fake::message_boxes[0].title, L"Tenebrix");
  EXPECT_EQ(fake::message_boxes[0].flags, platform::mb_iconinformation);
  ASSERT_EQ(fake::file_dialogs.size(), 1u);
  const platform::FileOpenDialog& file = fake::file_dialogs[0];
  EXPECT_EQ(file.title + L"|" + file.type_name + L"|" + file.type_pattern,
            L"Locate the installed Paltalk.exe|Paltalk executable|Paltalk.exe");
  EXPECT_EQ(file.options, 0x1840u);
  EXPECT_EQ(choose_host(), L"");  // the file dialog cancelled
}

TEST_F(ChooseHost, SeveralShowTheTaskDialogAndActOnTheButtonUnlessSilent) {
  const std::wstring picked = L"Z:\\elsewhere\\Paltalk.exe";
  for (const int button : {100, 101, 102, 99, 200, 201, platform::id_cancel, platform::dialog_failed}) {
    fake::reset_all();
    two_candidates();
    fake::command_link_answers = {button};
    fake::file_dialog_answers = {picked};
    const std::wstring expected = button == 100 ? first : button == 101 ? second : button == 200 ? picked : L"";
    EXPECT_EQ(choose_host(), expected) << button;
    EXPECT_EQ(fake::file_dialogs.size(), button == 200 ? 1u : 0u) << button;
  }
  ASSERT_EQ(fake::command_link_dialogs.size(), 1u);
  const platform::CommandLinkDialog& shown = fake::command_link_dialogs[0];
  EXPECT_EQ(shown.window_title, L"Tenebrix");
  EXPECT_EQ(shown.main_instruction, L"Choose the Paltalk installation to theme");
  std::vector<std::pair<int, std::wstring>> buttons;
  for (const auto& button : shown.buttons) buttons.push_back({button.id, button.text});
  const decltype(buttons) expected{{100, first}, {101, second}, {200, L"Browse for another installation"}};
  EXPECT_EQ(buttons, expected);
  silent_mode = true;
  fake::reset_all();
  two_candidates();
  EXPECT_EQ(choose_host(), L"");
  EXPECT_TRUE(fake::dialog_sequence.empty());
}

}  // namespace
}  // namespace nv
