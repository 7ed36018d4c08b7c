#pragma once
// Scriptable stand-ins for what cannot be had on this machine: a user's answers, processes in other
// sessions, signatures, version resources, and host starts that are only recorded. `fake = {};`
// starts afresh.
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/dialogs.h"
#include "platform/process_start.h"
#include "platform/processes.h"
#include "platform/trust.h"
#include "platform/version_info.h"

namespace nv {

struct FakeProcess {
  platform::ProcessRecord record;
  std::optional<std::wstring> image_path;    // nullopt: cannot be opened
  std::optional<std::uint32_t> session = 1;  // nullopt: missing from the session list
  platform::ModuleList modules{platform::ModuleListing::listed, {}};
  std::uint64_t creation_time = 0;
};

struct Fake {
  std::deque<int> message_box_answers;      // in order; with none left a box answers IDOK
  std::vector<std::wstring> message_boxes;  // the texts shown
  // Timer dialogs shown and what their callback did ("progress 40", "click 2", "content ..."). A
  // dialog ticks 1 ms apart, gets a scripted click after each tick until one closes it, and ends as
  // Cancel after 5,000 ticks.
  std::vector<std::wstring> timer_dialogs, dialog_actions;
  std::deque<int> timer_dialog_clicks;
  std::function<void()> timer_tick;  // runs before each tick
  bool timer_dialog_throws = false;  // the dialog cannot be built: std::bad_alloc
  platform::ProcessStart process_start_result{true, 0};  // started by default
  std::vector<std::pair<std::wstring, std::vector<std::uint16_t>>>
      process_starts;                  // command line, environment
  std::function<void()> during_start;  // runs inside each start
  std::vector<FakeProcess> processes;  // empty: the snapshot fails
  // What each request to close named; with `hosts_obey`, every process ends.
  std::vector<std::vector<std::pair<std::uint32_t, std::uint64_t>>> close_requests;
  bool session_list_fails = false, hosts_obey = false;
  // By folded path; a file not listed has no version resource or signature.
  std::map<std::wstring, platform::FixedFileInfo> versions;
  std::map<std::pair<std::wstring, std::uint32_t>, platform::SignatureCheck>
      signatures;  // index 0: primary
};
inline Fake fake;

}  // namespace nv
