#pragma once
// Scriptable stand-ins for what cannot be had on this machine: a user's answer
// to a message box, a process in another session, a file signed twice by other
// signers, any version resource, and a host start that is only recorded.
// reset() returns everything to a fresh state; call it at the start of a test.
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/dialogs.h"
#include "platform/process_start.h"
#include "platform/processes.h"
#include "platform/trust.h"
#include "platform/version_info.h"

namespace nv::fake {

void reset();

extern std::deque<int> message_box_answers;   // in order; with none left a box answers IDOK
extern std::vector<std::wstring> message_boxes;  // the texts shown

struct Start {
  std::wstring command_line;
  std::vector<std::uint16_t> environment;
};
extern platform::ProcessStart process_start_result;  // started by default
extern std::vector<Start> process_starts;

struct Process {
  platform::ProcessRecord record;
  std::optional<std::wstring> image_path;    // nullopt: cannot be opened
  std::optional<std::uint32_t> session = 1;  // nullopt: missing from the session list
  platform::ModuleList modules{platform::ModuleListing::listed, {}};
};
extern std::vector<Process> processes;  // empty: the snapshot fails
extern bool session_list_fails;

// By folded path; a file not listed has no version resource or signature.
extern std::map<std::wstring, platform::FixedFileInfo> versions;
extern std::map<std::pair<std::wstring, std::uint32_t>, platform::SignatureCheck> signatures;  // index 0: primary

}  // namespace nv::fake
