#include "launcher/environment.h"

#include <gtest/gtest.h>

#include "foundation/process_values.h"
#include "platform/fake/fake_control.h"
#include "installation.h"

namespace nv {
namespace {

using Entries = std::vector<std::wstring>;

// The block as its entries, in order.
Entries entries_of(const std::vector<std::uint16_t>& block) {
  Entries entries;
  std::wstring current;
  for (std::size_t i = 0; i < block.size(); ++i) {
    if (block[i] == 0) {
      if (current.empty()) {
        EXPECT_EQ(i + 1, block.size()) << "the empty entry must end the block";
        break;
      }
      entries.push_back(current);
      current.clear();
    } else {
      current += static_cast<wchar_t>(block[i]);
    }
  }
  return entries;
}

class LaunchEnvironmentTest : public test::StartingHostTest {
 protected:
  Entries build(const Entries& parent, bool dark) {
    return entries_of(compute_launch_environment(test::raw_block(parent), {dark, install_root, analysis.hashes, diagnostic_layout_path, dark && browser_dark_enabled()}));
  }
};

TEST_F(LaunchEnvironmentTest, NormalKeepsParentSortedWithOddEntries) {
  EXPECT_EQ(build({L"b=2", L"=C:=C:\\dir", L"A=1", L"=X", L"EMPTY=", L"noequals", L"Path=C:\\x=y"}, false),
            (Entries{L"=C:=C:\\dir", L"A=1", L"b=2", L"EMPTY=", L"Path=C:\\x=y"}));
}

TEST_F(LaunchEnvironmentTest, SortsByCaseInsensitiveNameAndLaterDuplicateWinsWithFirstSpelling) {
  EXPECT_EQ(build({L"path=first", L"Zed=z", L"PATH=second", L"_u=1", L"a=1"}, false),
            (Entries{L"_u=1", L"a=1", L"path=second", L"Zed=z"}));
}

TEST_F(LaunchEnvironmentTest, ThemeVariablesAreRemovedInNormalWhateverTheirCase) {
  EXPECT_EQ(build({L"qt_plugin_path=x", L"QT_STYLE_OVERRIDE=Fusion", L"Nightveil_Home=h", L"NIGHTVEIL_HASHES=x",
                   L"NIGHTVEIL_DIAGNOSTICS=d", L"KEEP=1"},
                  false),
            (Entries{L"KEEP=1"}));
}

TEST_F(LaunchEnvironmentTest, FullDarkSetsEveryThemeVariable) {
  diagnostic_layout_path = L"C:\\d.txt";
  EXPECT_EQ(build({L"qt_plugin_path=x", L"KEEP=1"}, true),
            (Entries{L"KEEP=1", L"NIGHTVEIL_DIAGNOSTICS=C:\\d.txt", L"NIGHTVEIL_HASHES=h1|h2|h3|h4",
                     L"NIGHTVEIL_HOME=" + install_root, L"QT_PLUGIN_PATH=" + install_root + L"\\plugins",
                     L"QT_STYLE_OVERRIDE=Nightveil", L"TENEBRIX_WEBVIEW_ARGS_ACTIVE=absent",
                     L"TENEBRIX_WEBVIEW_BACKGROUND_ACTIVE=absent",
                     L"WEBVIEW2_ADDITIONAL_BROWSER_ARGUMENTS=\"--enable-features=WebContentsForceDark\"",
                     L"WEBVIEW2_DEFAULT_BACKGROUND_COLOR=FF202328"}));
}

TEST_F(LaunchEnvironmentTest, FullDarkSavesUserValuesAndAChainKeepsTheOriginal) {
  const Entries user = {L"WEBVIEW2_ADDITIONAL_BROWSER_ARGUMENTS=--mute-audio",
                        L"WEBVIEW2_DEFAULT_BACKGROUND_COLOR=00000000"};
  const Entries first = build(user, true);
  const Entries second = build(first, true);
  EXPECT_EQ(first, second);
  EXPECT_NE(std::find(second.begin(), second.end(), L"TENEBRIX_WEBVIEW_BACKGROUND_ORIGINAL=00000000"), second.end());
  EXPECT_NE(std::find(second.begin(), second.end(), L"TENEBRIX_WEBVIEW_BACKGROUND_ACTIVE=present"), second.end());
  EXPECT_NE(std::find(second.begin(), second.end(), L"TENEBRIX_WEBVIEW_ARGS_ORIGINAL=--mute-audio"), second.end());
  EXPECT_NE(std::find(second.begin(), second.end(),
                      L"WEBVIEW2_ADDITIONAL_BROWSER_ARGUMENTS=\"--mute-audio\" "
                      L"\"--enable-features=WebContentsForceDark\""),
            second.end());
  // A normal launch from the themed environment gives the user's own values back.
  EXPECT_EQ(build(second, false), user);
}

TEST_F(LaunchEnvironmentTest, NormalAfterFullDarkWithoutUserValuesErasesVariableAndMarkers) {
  EXPECT_EQ(build(build({L"A=1"}, true), false), (Entries{L"A=1"}));
}

TEST_F(LaunchEnvironmentTest, QtOnlyGivesUserValuesBackWithoutMarkers) {
  browser_dark_override = L"off";
  const Entries themed = build({L"WEBVIEW2_DEFAULT_BACKGROUND_COLOR=11111111"}, true);
  browser_dark_override = L"off";
  Entries qt_only = build(themed, true);
  EXPECT_EQ(qt_only, (Entries{L"NIGHTVEIL_HASHES=h1|h2|h3|h4", L"NIGHTVEIL_HOME=" + install_root,
                              L"QT_PLUGIN_PATH=" + install_root + L"\\plugins", L"QT_STYLE_OVERRIDE=Nightveil",
                              L"WEBVIEW2_DEFAULT_BACKGROUND_COLOR=11111111"}));
}

TEST_F(LaunchEnvironmentTest, DiagnosticsHaveNoEffectOnANormalLaunch) {
  diagnostic_layout_path = L"C:\\d.txt";
  EXPECT_EQ(build({L"A=1"}, false), (Entries{L"A=1"}));
}

TEST(RestoreSavedVariable, FollowsTheMarkerExactly) {
  struct Case {
    const char* name;
    Entries before;
    Entries after;
  };
  const Case cases[] = {
      {"no marker keeps an orphaned original", {L"V=x", L"P_ORIGINAL=o"}, {L"P_ORIGINAL=o", L"V=x"}},
      {"present restores the original", {L"V=x", L"P_ACTIVE=present", L"P_ORIGINAL=o"}, {L"V=o"}},
      {"present without original keeps the value", {L"V=x", L"P_ACTIVE=present"}, {L"V=x"}},
      {"absent erases the variable", {L"V=x", L"P_ACTIVE=absent", L"P_ORIGINAL=o"}, {}},
      {"other case of the word changes nothing but drops markers", {L"V=x", L"P_ACTIVE=Present", L"P_ORIGINAL=o"},
       {L"V=x"}},
  };
  for (const auto& c : cases) {
    LaunchEnvironment environment = parse_environment_block(test::raw_block(c.before));
    restore_saved_variable(environment, L"V", L"P");
    Entries got;
    for (const auto& [k, v] : environment) got.push_back(k + L"=" + v);
    EXPECT_EQ(got, c.after) << c.name;
  }
}

TEST(SaveAndSetVariable, RecordsPresenceAndOriginal) {
  LaunchEnvironment environment = parse_environment_block(test::raw_block({L"v=old"}));
  save_and_set_variable(environment, L"V", L"P", L"new");
  EXPECT_EQ(environment.at(L"P_ACTIVE"), L"present");
  EXPECT_EQ(environment.at(L"P_ORIGINAL"), L"old");
  EXPECT_EQ(environment.at(L"V"), L"new");
  EXPECT_EQ(environment.begin()->first, L"P_ACTIVE");

  LaunchEnvironment empty;
  save_and_set_variable(empty, L"V", L"P", L"new");
  EXPECT_EQ(empty.at(L"P_ACTIVE"), L"absent");
  EXPECT_EQ(empty.count(L"P_ORIGINAL"), 0u);
}

TEST(BrowserDarkEnabled, OverrideThenStoredValueWhereOnlyZeroDisables) {
  test::TempDir dir;
  reset_process_values();
  install_root = dir.path();
  EXPECT_TRUE(browser_dark_enabled()) << "a new installation is full-dark";
  struct Case {
    const char* stored;  // nullptr: no file
    const wchar_t* override_value;
    bool enabled;
  };
  const Case cases[] = {{"0", L"", false}, {"00", L"", true},  {"off", L"", true}, {"", L"", true},
                        {"0", L"on", true}, {"1", L"off", false}, {"1", L"", true}};
  for (const auto& c : cases) {
    test::write_bytes(settings_path(), std::string("[Appearance]\r\nBrowserDark=") + c.stored + "\r\n");
    browser_dark_override = c.override_value;
    EXPECT_EQ(browser_dark_enabled(), c.enabled) << c.stored;
  }
  reset_process_values();
}

}  // namespace
}  // namespace nv
