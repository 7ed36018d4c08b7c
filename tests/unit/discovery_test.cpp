// Host discovery against a scripted registry, known folders and dialogs, with
// real files in a scratch directory.
#include "host/discovery.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <map>

#include "foundation/paths.h"
#include "launcher/process_values.h"
#include "platform/fake/dialogs_control.h"
#include "platform/fake/fake_control.h"
#include "platform/fake/known_folders_control.h"
#include "platform/fake/registry_control.h"
#include "test_support.h"

namespace nv {
namespace {

using platform::RegistryRoot;
using View = fake::RegistryView;

const std::wstring uninstall = L"Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall";

// --- parse_command_path -----------------------------------------------------

TEST(ParseCommandPath, Table) {
  struct Case {
    const wchar_t* value;
    const wchar_t* path;
  } cases[] = {
      {L"", L""},
      {L"\"", L""},
      {L"\"C:\\Paltalk\\uninst.exe", L""},  // no closing mark
      {L"\"\"", L""},
      {L"\"C:\\Program Files\\Paltalk\\uninst.exe\" /S", L"C:\\Program Files\\Paltalk\\uninst.exe"},
      {L"\"C:\\Paltalk\\Paltalk.exe\",0", L"C:\\Paltalk\\Paltalk.exe"},
      {L"\"C:\\Paltalk\\icon.ico\"", L"C:\\Paltalk\\icon.ico"},  // quoted: taken as it stands
      {L"C:\\Program Files\\Paltalk\\Paltalk.exe,0", L"C:\\Program Files\\Paltalk\\Paltalk.exe"},
      {L"C:\\Program Files\\Paltalk\\UNINST.EXE /S /Q", L"C:\\Program Files\\Paltalk\\UNINST.EXE"},
      {L"uninst.exe /S", L"uninst.exe"},
      {L"MsiExec.exe /X{11111111-2222-3333-4444-555555555555}", L"MsiExec.exe"},
      {L"C:\\Tools.exe\\Paltalk\\uninst.exe", L"C:\\Tools.exe"},  // the first ".exe" cuts
      {L"C:\\Paltalk\\icon.ico", L""},
      {L"C:\\Paltalk\\Paltalk.ex", L""},
      {L" \"C:\\Paltalk\\uninst.exe\"", L" \"C:\\Paltalk\\uninst.exe"},  // a quote only counts first
  };
  for (const auto& c : cases) EXPECT_EQ(parse_command_path(c.value), c.path) << c.value;
}

// --- the display-name filter -------------------------------------------------

TEST(CountsAsHostEntry, NeedsPaltalkAndNoDarkInAnyCase) {
  struct Case {
    const wchar_t* name;
    bool counts;
  } cases[] = {
      {L"Paltalk", true},         {L"PALTALK", true},          {L"Paltalk Messenger 1.2", true},
      {L"My pAlTaLk", true},      {L"Paltalk Dark Mode", false}, {L"PALTALK DARK", false},
      {L"darkpaltalk", false},    {L"Paltalk DaRk", false},    {L"Pal talk", false},
      {L"Tenebrix", false},       {L"", false},
  };
  for (const auto& c : cases) EXPECT_EQ(counts_as_host_entry(c.name), c.counts) << c.name;
}

// --- the text of a registry value ---------------------------------------------

std::vector<std::uint8_t> utf16le(const std::wstring& text, bool terminate) {
  std::vector<std::uint8_t> bytes;
  for (wchar_t c : text) {
    bytes.push_back(static_cast<std::uint8_t>(static_cast<std::uint32_t>(c) & 0xFF));
    bytes.push_back(static_cast<std::uint8_t>((static_cast<std::uint32_t>(c) >> 8) & 0xFF));
  }
  if (terminate) bytes.insert(bytes.end(), {0, 0});
  return bytes;
}

platform::RegistryValue value_of(std::uint32_t type, std::vector<std::uint8_t> data) {
  return platform::RegistryValue{true, type, std::move(data)};
}

TEST(RegistryText, TextTypesOnly) {
  fake::reset_all();
  EXPECT_EQ(registry_text(value_of(platform::reg_sz, utf16le(L"C:\\Paltalk", true))), L"C:\\Paltalk");
  EXPECT_EQ(registry_text(value_of(platform::reg_sz, utf16le(L"no end", false))), L"no end");
  EXPECT_EQ(registry_text(value_of(platform::reg_sz, utf16le(L"first\0second", true))), L"first");
  EXPECT_EQ(registry_text(value_of(platform::reg_sz, {})), L"");
  // A value with an odd byte count keeps its last byte as a unit of its own.
  EXPECT_EQ(registry_text(value_of(platform::reg_sz, {'a', 0, 'b'})), L"ab");
  // Units beyond ASCII survive as two bytes each.
  EXPECT_EQ(registry_text(value_of(platform::reg_sz, utf16le(L"\x00C4\xD83D\xDE00", false))),
            std::wstring(L"\x00C4\xD83D\xDE00"));
  for (std::uint32_t type : {platform::reg_binary, platform::reg_dword, platform::reg_multi_sz, 0u})
    EXPECT_EQ(registry_text(value_of(type, utf16le(L"text", true))), L"") << type;
  platform::RegistryValue failed = value_of(platform::reg_sz, utf16le(L"text", true));
  failed.read = false;
  EXPECT_EQ(registry_text(failed), L"");
}

TEST(RegistryText, FullBufferLosesItsLastUnit) {
  fake::reset_all();
  const std::wstring text(platform::registry_value_bytes / 2, L'x');
  EXPECT_EQ(registry_text(value_of(platform::reg_sz, utf16le(text, false))), text.substr(1));
}

TEST(RegistryText, ExpandsOnlyExpandableText) {
  fake::reset_all();
  fake::environment_variables[L"ProgramFiles"] = L"C:\\Program Files";
  const auto data = utf16le(L"%PROGRAMFILES%\\Paltalk %unknown%", true);
  EXPECT_EQ(registry_text(value_of(platform::reg_expand_sz, data)), L"C:\\Program Files\\Paltalk %unknown%");
  EXPECT_EQ(registry_text(value_of(platform::reg_sz, data)), L"%PROGRAMFILES%\\Paltalk %unknown%");
}

TEST(ReadRegistryText, ReadsTheViewAsked) {
  fake::reset_all();
  const std::wstring key = L"Software\\Vendor\\App";
  fake::set_registry_text(RegistryRoot::local_machine, View::view32, key, L"Path", L"thirty-two");
  fake::set_registry_text(RegistryRoot::local_machine, View::view64, key, L"Path", L"sixty-four");
  fake::set_registry_text(RegistryRoot::current_user, View::view32, key, L"Path", L"user");
  EXPECT_EQ(read_registry_text(RegistryRoot::local_machine, key, L"Path", platform::key_wow64_32key), L"thirty-two");
  EXPECT_EQ(read_registry_text(RegistryRoot::local_machine, key, L"PATH", platform::key_wow64_64key), L"sixty-four");
  EXPECT_EQ(read_registry_text(RegistryRoot::local_machine, L"software\\VENDOR\\app", L"Path", 0), L"sixty-four");
  EXPECT_EQ(read_registry_text(RegistryRoot::current_user, key, L"Path", platform::key_wow64_64key), L"user");
  EXPECT_EQ(read_registry_text(RegistryRoot::current_user, key, L"Missing", 0), L"");
  EXPECT_EQ(read_registry_text(RegistryRoot::current_user, key + L"\\Missing", L"Path", 0), L"");
  ASSERT_FALSE(fake::registry_opens.empty());
  EXPECT_EQ(fake::registry_opens.front().access, platform::key_wow64_32key);
}

// --- the button protocol ------------------------------------------------------

TEST(AnswerForButton, IdsAreTheWholeProtocol) {
  const std::vector<std::wstring> candidates{L"Z:\\a\\Paltalk.exe", L"Z:\\b\\Paltalk.exe"};
  struct Case {
    int button;
    bool browse;
    const wchar_t* path;
  } cases[] = {
      {100, false, L"Z:\\a\\Paltalk.exe"}, {101, false, L"Z:\\b\\Paltalk.exe"}, {200, true, L""},
      {102, false, L""}, {99, false, L""}, {201, false, L""}, {platform::id_cancel, false, L""},
      {platform::id_ok, false, L""}, {platform::dialog_failed, false, L""}, {-1, false, L""},
  };
  for (const auto& c : cases) {
    const HostAnswer answer = answer_for_button(c.button, candidates);
    EXPECT_EQ(answer.browse, c.browse) << c.button;
    EXPECT_EQ(answer.path, c.path) << c.button;
  }
  EXPECT_EQ(answer_for_button(100, {}).path, L"");
}

// --- the candidate list --------------------------------------------------------

std::wstring forward_slashes(std::wstring path) {
  for (auto& c : path)
    if (c == L'\\') c = L'/';
  return path;
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

TEST_F(Discovery, OneInstallationRegisteredEverywhereIsOneEntry) {
  const std::wstring host = make_host(L"Paltalk");
  const std::map<std::wstring, std::wstring> values{
      {L"DisplayName", L"Paltalk"},
      {L"InstallLocation", dir / L"Paltalk"},
      {L"DisplayIcon", L"\"" + (dir / L"Paltalk\\Paltalk.exe") + L"\",0"},
      {L"UninstallString", dir / L"Paltalk\\uninstall.exe /S"}};
  add_entry(RegistryRoot::local_machine, View::view32, L"Paltalk", values);
  add_entry(RegistryRoot::local_machine, View::view64, L"Paltalk", values);
  fake::known_folders[platform::KnownFolder::program_files] = dir.path();
  EXPECT_EQ(find_host_candidates(), std::vector<std::wstring>{host});
  EXPECT_EQ(choose_host(), host);
  EXPECT_TRUE(fake::dialog_sequence.empty());
}

TEST_F(Discovery, SpellingsOfOnePathAreOneEntry) {
  const std::wstring host = make_host(L"App");
  add_entry(RegistryRoot::local_machine, View::view64, L"A",
            {{L"DisplayName", L"Paltalk"}, {L"InstallLocation", dir / L"App\\"}});
  add_entry(RegistryRoot::local_machine, View::view64, L"B",
            {{L"DisplayName", L"Paltalk"}, {L"DisplayIcon", dir / L"Sub\\..\\App\\.\\Paltalk.exe,0"}});
  add_entry(RegistryRoot::local_machine, View::view64, L"C",
            {{L"DisplayName", L"Paltalk"}, {L"InstallLocation", forward_slashes(dir / L"App")}});
  EXPECT_EQ(find_host_candidates(), std::vector<std::wstring>{host});
}

TEST_F(Discovery, FormsDifferingInCaseAreOneEntryAndTheFirstStays) {
  // Folders whose names differ only in case: two files where the file system
  // tells case apart (natively), one where it does not (Windows, where the
  // normal form already brings them together). One entry either way, as found first.
  const std::wstring lower = make_host(L"case");
  const std::wstring upper = make_host(L"CASE");
  for (bool upper_first : {true, false}) {
    fake::reset_all();
    add_entry(RegistryRoot::current_user, View::view64, L"1",
              {{L"DisplayName", L"Paltalk"}, {L"InstallLocation", dir / (upper_first ? L"CASE" : L"case")}});
    add_entry(RegistryRoot::current_user, View::view64, L"2",
              {{L"DisplayName", L"Paltalk"}, {L"InstallLocation", dir / (upper_first ? L"case" : L"CASE")}});
    EXPECT_EQ(find_host_candidates(), std::vector<std::wstring>{upper_first ? upper : lower}) << upper_first;
  }
}

TEST_F(Discovery, DisplayNameFilter) {
  make_host(L"Dark");
  const std::wstring capitals = make_host(L"Capitals");
  add_entry(RegistryRoot::local_machine, View::view64, L"A",
            {{L"DisplayName", L"pALtalk DaRK Theme"}, {L"InstallLocation", dir / L"Dark"}});
  add_entry(RegistryRoot::local_machine, View::view64, L"B",
            {{L"DisplayName", L"PALTALK"}, {L"InstallLocation", dir / L"Capitals"}});
  add_entry(RegistryRoot::local_machine, View::view64, L"C", {{L"InstallLocation", dir / L"Dark"}});
  add_entry(RegistryRoot::local_machine, View::view64, L"D",
            {{L"DisplayName", L"Something else"}, {L"InstallLocation", dir / L"Dark"}});
  EXPECT_EQ(find_host_candidates(), std::vector<std::wstring>{capitals});
}

TEST_F(Discovery, UninstallerBesideTheHostLeadsToIt) {
  const std::wstring host = make_host(L"Paltalk Messenger");
  test::write_bytes(dir / L"Paltalk Messenger\\uninstall.exe", "MZ");
  add_entry(RegistryRoot::current_user, View::view64, L"Paltalk",
            {{L"DisplayName", L"Paltalk"},
             {L"UninstallString", L"\"" + (dir / L"Paltalk Messenger\\uninstall.exe") + L"\" /uninstall"}});
  EXPECT_EQ(find_host_candidates(), std::vector<std::wstring>{host});
}

TEST_F(Discovery, ExpandableValuesAreExpanded) {
  const std::wstring host = make_host(L"Expanded");
  fake::environment_variables[L"NV_SCRATCH"] = dir.path();
  fake::set_registry_text(RegistryRoot::current_user, View::view64, uninstall + L"\\P", L"DisplayName", L"Paltalk");
  fake::set_registry_text(RegistryRoot::current_user, View::view64, uninstall + L"\\P", L"InstallLocation",
                          L"%NV_SCRATCH%\\Expanded", platform::reg_expand_sz);
  EXPECT_EQ(find_host_candidates(), std::vector<std::wstring>{host});
}

class CurrentDirectory {
 public:
  explicit CurrentDirectory(const std::wstring& path) : saved_(std::filesystem::current_path()) {
    std::filesystem::current_path(test::to_fs(path));
  }
  CurrentDirectory(const CurrentDirectory&) = delete;
  CurrentDirectory& operator=(const CurrentDirectory&) = delete;
  ~CurrentDirectory() { std::filesystem::current_path(saved_); }

 private:
  std::filesystem::path saved_;
};

TEST_F(Discovery, BareProgramNameIsLookedForInTheCurrentDirectory) {
  add_entry(RegistryRoot::local_machine, View::view32, L"Paltalk",
            {{L"DisplayName", L"Paltalk"}, {L"UninstallString", L"uninstall.exe /S"}});
  test::write_bytes(dir / L"empty\\readme.txt", "");
  {
    CurrentDirectory cd(dir / L"empty");
    EXPECT_TRUE(find_host_candidates().empty());
  }
  const std::wstring host = make_host(L"current");
  {
    CurrentDirectory cd(dir / L"current");
    EXPECT_EQ(find_host_candidates(), std::vector<std::wstring>{host});
  }
}

TEST_F(Discovery, LocationWithoutTheHostGivesNoneAndKnownFoldersStillCount) {
  test::write_bytes(dir / L"Registered\\other.exe", "MZ");
  test::write_bytes(dir / L"Folder\\Paltalk.exe\\inside.txt", "");  // a folder of that name
  add_entry(RegistryRoot::local_machine, View::view64, L"Paltalk",
            {{L"DisplayName", L"Paltalk"},
             {L"InstallLocation", dir / L"Registered"},
             {L"DisplayIcon", dir / L"Folder\\x.exe"},
             {L"UninstallString", dir / L"Nowhere\\uninstall.exe"}});
  const std::wstring local = make_host(L"Local\\Paltalk");
  fake::known_folders[platform::KnownFolder::local_app_data] = dir / L"Local";
  EXPECT_EQ(find_host_candidates(), std::vector<std::wstring>{local});
  const std::vector<platform::KnownFolder> asked{platform::KnownFolder::local_app_data,
                                                 platform::KnownFolder::program_files,
                                                 platform::KnownFolder::program_files_x86};
  EXPECT_EQ(fake::known_folder_queries, asked);
}

TEST_F(Discovery, OrderIsRootsThenViewsThenFieldsThenKnownFolders) {
  const std::wstring user = make_host(L"User");
  const std::wstring lm32 = make_host(L"Machine32");
  const std::wstring lm64_location = make_host(L"Machine64");
  const std::wstring lm64_icon = make_host(L"Icon");
  const std::wstring lm64_uninstall = make_host(L"Uninstaller");
  const std::wstring local = make_host(L"LocalAppData\\Paltalk");
  const std::wstring program_files = make_host(L"ProgramFiles\\Paltalk");
  const std::wstring x86 = make_host(L"ProgramFilesX86\\Paltalk");
  fake::known_folders[platform::KnownFolder::program_files_x86] = dir / L"ProgramFilesX86";
  fake::known_folders[platform::KnownFolder::program_files] = dir / L"ProgramFiles";
  fake::known_folders[platform::KnownFolder::local_app_data] = dir / L"LocalAppData";
  add_entry(RegistryRoot::local_machine, View::view64, L"Paltalk",
            {{L"DisplayName", L"Paltalk"},
             {L"UninstallString", L"\"" + (dir / L"Uninstaller\\u.exe") + L"\""},
             {L"DisplayIcon", dir / L"Icon\\icon.exe,2"},
             {L"InstallLocation", dir / L"Machine64"}});
  add_entry(RegistryRoot::local_machine, View::view32, L"Paltalk",
            {{L"DisplayName", L"Paltalk"}, {L"InstallLocation", dir / L"Machine32"}});
  add_entry(RegistryRoot::current_user, View::view64, L"Paltalk",
            {{L"DisplayName", L"Paltalk"}, {L"InstallLocation", dir / L"User"}});
  const std::vector<std::wstring> expected{user,  lm32,          lm64_location, lm64_icon, lm64_uninstall,
                                           local, program_files, x86};
  EXPECT_EQ(find_host_candidates(), expected);
}

TEST_F(Discovery, FourVisitsEachWithItsViewOnEveryOpen) {
  add_entry(RegistryRoot::current_user, View::view64, L"Paltalk", {{L"DisplayName", L"Paltalk"}});
  add_entry(RegistryRoot::local_machine, View::view32, L"Paltalk", {{L"DisplayName", L"Paltalk"}});
  add_entry(RegistryRoot::local_machine, View::view64, L"Paltalk", {{L"DisplayName", L"Paltalk"}});
  find_host_candidates();
  struct Visit {
    RegistryRoot root;
    unsigned view;
  };
  std::vector<Visit> visits;
  for (const auto& open : fake::registry_opens) {
    if (fold_ascii(open.key) == fold_ascii(uninstall)) {
      visits.push_back({open.root, open.access});
    } else {
      // Every read of an entry happens within its visit and with its view.
      ASSERT_FALSE(visits.empty());
      EXPECT_EQ(open.root, visits.back().root) << open.key;
      EXPECT_EQ(open.access, visits.back().view) << open.key;
    }
  }
  ASSERT_EQ(visits.size(), 4u);
  EXPECT_EQ(visits[0].root, RegistryRoot::current_user);
  EXPECT_EQ(visits[0].view, platform::key_wow64_32key);
  EXPECT_EQ(visits[1].root, RegistryRoot::current_user);
  EXPECT_EQ(visits[1].view, platform::key_wow64_64key);
  EXPECT_EQ(visits[2].root, RegistryRoot::local_machine);
  EXPECT_EQ(visits[2].view, platform::key_wow64_32key);
  EXPECT_EQ(visits[3].root, RegistryRoot::local_machine);
  EXPECT_EQ(visits[3].view, platform::key_wow64_64key);
}

TEST_F(Discovery, MissingUninstallKeysAreSkipped) {
  const std::wstring local = make_host(L"Local\\Paltalk");
  fake::known_folders[platform::KnownFolder::local_app_data] = dir / L"Local";
  EXPECT_EQ(find_host_candidates(), std::vector<std::wstring>{local});
}

// --- choose_host --------------------------------------------------------------

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

TEST_F(ChooseHost, OneCandidateNeedsNoDialog) {
  const std::wstring host = make_host(L"Only");
  add_entry(RegistryRoot::current_user, View::view64, L"Paltalk",
            {{L"DisplayName", L"Paltalk"}, {L"InstallLocation", dir / L"Only"}});
  EXPECT_EQ(choose_host(), host);
  silent_mode = true;
  EXPECT_EQ(choose_host(), host);
  EXPECT_TRUE(fake::dialog_sequence.empty());
}

TEST_F(ChooseHost, SilentAsksNothing) {
  silent_mode = true;
  EXPECT_EQ(choose_host(), L"");  // none
  two_candidates();
  EXPECT_EQ(choose_host(), L"");  // several
  EXPECT_TRUE(fake::dialog_sequence.empty());
}

TEST_F(ChooseHost, NoneShowsTheMessageThenTheFileDialog) {
  fake::file_dialog_answers = {L"Z:\\picked\\Paltalk.exe"};
  EXPECT_EQ(choose_host(), L"Z:\\picked\\Paltalk.exe");
  const std::vector<fake::DialogKind> sequence{fake::DialogKind::message_box, fake::DialogKind::file_open};
  EXPECT_EQ(fake::dialog_sequence, sequence);
  ASSERT_EQ(fake::message_boxes.size(), 1u);
  EXPECT_EQ(fake::message_boxes[0].text,
            L"Paltalk was not found. Install Paltalk first, or select an existing Paltalk.exe in the next dialog.");
  EXPECT_EQ(fake::message_boxes[0].title, L"Tenebrix");
  EXPECT_EQ(fake::message_boxes[0].flags, platform::mb_iconinformation);
  ASSERT_EQ(fake::file_dialogs.size(), 1u);
  EXPECT_EQ(fake::file_dialogs[0].title, L"Locate the installed Paltalk.exe");
  EXPECT_EQ(fake::file_dialogs[0].type_name, L"Paltalk executable");
  EXPECT_EQ(fake::file_dialogs[0].type_pattern, L"Paltalk.exe");
  EXPECT_EQ(fake::file_dialogs[0].options, 0x1840u);
}

TEST_F(ChooseHost, NoneAndTheFileDialogCancelled) {
  EXPECT_EQ(choose_host(), L"");
  EXPECT_EQ(fake::file_dialogs.size(), 1u);
}

TEST_F(ChooseHost, SeveralShowTheTaskDialog) {
  two_candidates();
  fake::command_link_answers = {101};
  EXPECT_EQ(choose_host(), second);
  ASSERT_EQ(fake::command_link_dialogs.size(), 1u);
  const platform::CommandLinkDialog& shown = fake::command_link_dialogs[0];
  EXPECT_EQ(shown.window_title, L"Tenebrix");
  EXPECT_EQ(shown.main_instruction, L"Choose the Paltalk installation to theme");
  ASSERT_EQ(shown.buttons.size(), 3u);
  EXPECT_EQ(shown.buttons[0].id, 100);
  EXPECT_EQ(shown.buttons[0].text, first);
  EXPECT_EQ(shown.buttons[1].id, 101);
  EXPECT_EQ(shown.buttons[1].text, second);
  EXPECT_EQ(shown.buttons[2].id, 200);
  EXPECT_EQ(shown.buttons[2].text, L"Browse for another installation");
  EXPECT_TRUE(fake::file_dialogs.empty());
  EXPECT_TRUE(fake::message_boxes.empty());
}

TEST_F(ChooseHost, FirstCommandLink) {
  two_candidates();
  fake::command_link_answers = {100};
  EXPECT_EQ(choose_host(), first);
}

TEST_F(ChooseHost, CancelOrFailureGivesNothingAndNoFileDialog) {
  two_candidates();
  for (int answer : {platform::id_cancel, platform::dialog_failed, 102, platform::id_ok}) {
    fake::command_link_answers = {answer};
    EXPECT_EQ(choose_host(), L"") << answer;
  }
  EXPECT_TRUE(fake::file_dialogs.empty());
}

TEST_F(ChooseHost, BrowseOpensTheFileDialog) {
  two_candidates();
  fake::command_link_answers = {200};
  fake::file_dialog_answers = {L"Z:\\elsewhere\\Paltalk.exe"};
  EXPECT_EQ(choose_host(), L"Z:\\elsewhere\\Paltalk.exe");
  const std::vector<fake::DialogKind> sequence{fake::DialogKind::command_links, fake::DialogKind::file_open};
  EXPECT_EQ(fake::dialog_sequence, sequence);
}

}  // namespace
}  // namespace nv
