// The support report's value rules through the real backend: only known words of last-status.ini
// reach it, the error only beside "create-process", and only as a plain 32-bit number.
#include <gtest/gtest.h>

#include "foundation/process_values.h"
#include "support/report.h"
#include "test_support.h"

namespace nv {
namespace {

TEST(SupportReport, LastStatusGivesOnlyKnownWordsAndNumbers) {
  // Operation, Error and Mode in last-status.ini; the report's lastLaunchMode, and its
  // lastOperation's fields.
  const std::array<const char*, 5> cases[] = {
      {"create-process", "5", "qt-only", R"("qt-only")", R"("create-process","errorCode":5)"},
      {"create-process", "0042", "full-dark", R"("full-dark")",
       R"("create-process","errorCode":42)"},
      {"create-process", "4294967295", "normal", R"("normal")",
       R"("create-process","errorCode":4294967295)"},
      {"create-process", "4294967296", "Normal", "null", R"("create-process","errorCode":null)"},
      {"create-process", "00000000001", "NORMAL", "null", R"("create-process","errorCode":null)"},
      {"create-process", "12a", "dark", "null", R"("create-process","errorCode":null)"},
      {"create-process", "-1", "", "null", R"("create-process","errorCode":null)"},
      {"create-process", "", "qt-only", R"("qt-only")", R"("create-process","errorCode":null)"},
      {"shell-execute", "5", "normal", R"("normal")", R"(null,"errorCode":null)"},
      {"Create-Process", "5", "normal", R"("normal")", R"(null,"errorCode":null)"},
      {nullptr, nullptr, nullptr, "null", R"(null,"errorCode":null)"}};
  for (const auto& [operation, error, mode, launch_mode, last_operation] : cases) {
    test::TempDir root;
    const ContextScope context({.install_root = root.path});
    if (operation)
      test::write_bytes(last_status_path(), std::string("[Launch]\nOperation=") + operation +
                                                "\nError=" + error + "\nMode=" + mode + "\n");
    const std::string report = compose_support_report(L"");
    EXPECT_NE(report.find(",\"lastLaunchMode\":" + std::string(launch_mode) + "},\n"),
              std::string::npos)
        << report;
    EXPECT_NE(
        report.find("\n\"lastOperation\":{\"operation\":" + std::string(last_operation) + "}\n}\n"),
        std::string::npos)
        << report;
  }
}

}  // namespace
}  // namespace nv
