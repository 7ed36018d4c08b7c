// The support report's value rules through the real backend: only known words
// of last-status.ini reach it, the error only beside "create-process", and
// only as a plain 32-bit number.
#include <gtest/gtest.h>

#include "foundation/process_values.h"
#include "support/report.h"
#include "test_support.h"

namespace nv {
namespace {

TEST(SupportReport, LastStatusGivesOnlyKnownWordsAndNumbers) {
  struct Case { const char* operation; const char* error; const char* mode; const char* expected; };
  const Case cases[] = {
      {"create-process", "5", "qt-only", R"("qt-only"},...{"operation":"create-process","errorCode":5})"},
      {"create-process", "0042", "full-dark", R"("full-dark"},...{"operation":"create-process","errorCode":42})"},
      {"create-process", "4294967295", "normal", R"("normal"},...{"operation":"create-process","errorCode":4294967295})"},
      {"create-process", "4294967296", "Normal", R"(null},...{"operation":"create-process","errorCode":null})"},
      {"create-process", "00000000001", "NORMAL", R"(null},...{"operation":"create-process","errorCode":null})"},
      {"create-process", "12a", "dark", R"(null},...{"operation":"create-process","errorCode":null})"},
      {"create-process", "-1", "", R"(null},...{"operation":"create-process","errorCode":null})"},
      {"create-process", "", "qt-only", R"("qt-only"},...{"operation":"create-process","errorCode":null})"},
      {"shell-execute", "5", "normal", R"("normal"},...{"operation":null,"errorCode":null})"},
      {"Create-Process", "5", "normal", R"("normal"},...{"operation":null,"errorCode":null})"},
      {nullptr, nullptr, nullptr, R"(null},...{"operation":null,"errorCode":null})"}};
  for (const auto& c : cases) {
    test::TempDir root;
    reset_process_values();
    install_root = root.path;
    if (c.operation)
      test::write_bytes(last_status_path(), std::string("[Launch]\nOperation=") + c.operation + "\nError=" + c.error +
                                                "\nMode=" + c.mode + "\n");
    const std::string report = compose_support_report(L"");
    const std::string expected = c.expected;
    const std::size_t gap = expected.find("...");
    EXPECT_NE(report.find(",\"lastLaunchMode\":" + expected.substr(0, gap) + "\n"), std::string::npos) << report;
    EXPECT_NE(report.find("\n\"lastOperation\":" + expected.substr(gap + 3) + "\n}\n"), std::string::npos) << report;
  }
  reset_process_values();
}

}  // namespace
}  // namespace nv
