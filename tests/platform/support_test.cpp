// The support report's value rules, through the real backend: what a file,
// last-status.ini and a number text may turn into.
#include <gtest/gtest.h>

#include "foundation/process_values.h"
#include "support/report.h"
#include "test_support.h"

namespace nv {
namespace {

TEST(SupportReport, NumberOrNull) {
  const std::pair<std::wstring, std::string> cases[] = {
      {L"5", "5"}, {L"007", "7"}, {L"0", "0"}, {L"4294967295", "4294967295"}, {L"4294967296", "null"},
      {L"99999999999", "null"}, {L"00000000001", "null"}, {L"", "null"}, {L"12a", "null"}, {L"-1", "null"},
      {L" 1", "null"}, {L"+1", "null"}, {L"\x0661", "null"}};
  for (const auto& [text, expected] : cases) EXPECT_EQ(json_number_or_null(text), expected) << text.size();
}

// Only the listed words of last-status.ini reach the report, and the error
// only beside "create-process".
TEST(SupportReport, LastStatusGivesOnlyKnownWords) {
  struct Case { const char* file; const char* mode; const char* operation; };
  const Case cases[] = {
      {"Operation=create-process\nError=5\nMode=qt-only\n", "\"qt-only\"", "\"create-process\",\"errorCode\":5"},
      {"Operation=create-process\nError=0042\nMode=full-dark\n", "\"full-dark\"", "\"create-process\",\"errorCode\":42"},
      {"Operation=create-process\nError=abc\nMode=Normal\n", "null", "\"create-process\",\"errorCode\":null"},
      {"Operation=shell-execute\nError=5\nMode=normal\n", "\"normal\"", "null,\"errorCode\":null"},
      {"Operation=Create-Process\nError=5\nMode=NORMAL\n", "null", "null,\"errorCode\":null"},
      {nullptr, "null", "null,\"errorCode\":null"}};
  for (const auto& c : cases) {
    test::TempDir root;
    reset_process_values();
    install_root = root.path;
    if (c.file) test::write_bytes(last_status_path(), std::string("[Launch]\n") + c.file);
    const std::string report = compose_support_report(L"");
    EXPECT_NE(report.find(std::string(",\"lastLaunchMode\":") + c.mode + "},\n"), std::string::npos) << report;
    EXPECT_NE(report.find(std::string("\n\"lastOperation\":{\"operation\":") + c.operation + "}\n}\n"),
              std::string::npos) << report;
  }
  reset_process_values();
}

}  // namespace
}  // namespace nv
