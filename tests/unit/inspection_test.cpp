// What cannot be had on this machine: processes in other sessions, modules
// that cannot be listed, and files signed twice by named signers.
#include <gtest/gtest.h>

#include "fake_platform.h"
#include "foundation/paths.h"
#include "foundation/process_values.h"
#include "host/identification.h"
#include "support/inspection.h"

namespace nv {
namespace {

// Paths on a drive that exists nowhere compare by their lexical normal form.
const std::wstring host = L"Q:\\P\\Paltalk.exe", other = L"Q:\\O\\Paltalk.exe";

fake::Process process(std::uint32_t id, std::optional<std::wstring> image, std::optional<std::uint32_t> session = 1,
                      platform::ModuleListing listing = platform::ModuleListing::listed,
                      const std::wstring& plugin = L"Q:\\T\\plugins\\styles\\Nightveil.dll") {
  return {{id, 4, L"PALTALK.exe"}, image, session, {listing, {{L"Paltalk.exe", host}, {L"nightveil.DLL", plugin}}}};
}

TEST(Inspection, DoubtCountsAsYesOnlyInThisSession) {
  using L = platform::ModuleListing;
  struct Case {
    std::vector<fake::Process> table;
    bool session_list_fails, running, busy;
  };
  const fake::Process idle{{40, 4, L"Paltalk.exe.bak"}, host};
  const Case cases[] = {
      {{idle}, false, false, false},
      {{idle, process(50, L"q:/P/./X/../PALTALK.EXE")}, false, true, true},
      {{idle, process(50, other)}, false, false, true},
      {{idle, process(50, other, 1, L::listed, L"Q:\\E\\plugins\\styles\\Nightveil.dll")}, false, false, false},
      {{idle, process(50, host, 2)}, false, false, false},
      {{idle, process(50, host, 2)}, true, true, true},
      {{idle, process(50, host, std::nullopt)}, false, true, true},
      {{idle, process(50, std::nullopt)}, false, true, true},
      {{idle, process(50, std::nullopt, 2)}, false, false, false},
      {{idle, process(50, other, 1, L::no_snapshot)}, false, false, true},
      {{idle, process(50, other, 1, L::no_first_module)}, false, false, false},
      {{}, false, false, false},  // no snapshot at all
  };
  for (std::size_t i = 0; i < std::size(cases); ++i) {
    fake::reset();
    fake::processes = cases[i].table;
    fake::session_list_fails = cases[i].session_list_fails;
    EXPECT_EQ(host_is_running(host), cases[i].running) << i;
    EXPECT_EQ(install_is_busy(L"q:\\t\\"), cases[i].busy) << i;
  }
}

TEST(Identification, EachSignatureByItsIndexAndTheSecondariesCounted) {
  fake::reset();
  const std::wstring dual = L"Q:\\dual.exe";
  fake::signatures[{folded_path(dual), 0}] = {true, true, L"Paltalk US LLC", 1};
  fake::signatures[{folded_path(dual), 1}] = {true, true, L"The QT Company Oy", 0};
  std::uint32_t count = 7;
  EXPECT_TRUE(signed_by_at(dual, 0, L"PALTALK US LLC", &count));
  EXPECT_EQ(count, 1u);
  EXPECT_TRUE(signed_by_at(dual, 1, L"The Qt Company Oy"));
  EXPECT_FALSE(signed_by_at(dual, 1, L"Paltalk US LLC"));
  EXPECT_FALSE(signed_by_at(dual, 2, L"Paltalk US LLC"));
  EXPECT_FALSE(signed_by(dual, L"Paltalk US"));
}

}  // namespace
}  // namespace nv
