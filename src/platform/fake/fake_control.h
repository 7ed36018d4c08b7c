#pragma once
// Test control of the scriptable platform. Each fake module keeps what it was
// asked and answers from a script; reset_all() returns every module to a
// fresh state (call it at the start of each test).
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/process_start.h"
#include "platform/trust.h"
#include "platform/version_info.h"

namespace nv::fake {

void reset_all();

// Each fake module registers its reset here at static initialisation.
struct ResetRegistration {
  explicit ResetRegistration(void (*reset)());
};

// --- dialogs: message boxes ---
struct MessageBoxCall {
  std::wstring text;
  std::wstring title;
  unsigned flags = 0;
};
// Answers given in order; with none queued a box answers IDOK (1), like a user
// who presses Enter on an information box.
extern std::deque<int> message_box_answers;
extern std::vector<MessageBoxCall> message_boxes;

// --- process start ---
struct ProcessStartCall {
  std::wstring application;
  std::wstring command_line;
  std::vector<std::uint16_t> environment;
  std::wstring directory;
};
struct ShellExecuteCall {
  std::wstring file;
  std::wstring arguments;
  std::wstring directory;
};
extern platform::Elevation elevation;              // not_elevated by default
extern platform::ProcessStart process_start_result;  // started by default
extern std::vector<ProcessStartCall> process_starts;
extern bool shell_available;                       // the desktop shell accepts; true by default
extern std::vector<ShellExecuteCall> shell_executes;

// --- version resources: by folded_path of the file; a file not listed has none ---
extern std::map<std::wstring, platform::FixedFileInfo> fixed_file_infos;

// --- signatures: by (folded_path, index; 0 for the primary check); unlisted files are unsigned ---
extern std::map<std::pair<std::wstring, std::uint32_t>, platform::SignatureCheck> signatures;
extern std::vector<std::pair<std::wstring, std::optional<std::uint32_t>>> signature_checks;  // every call, in order

}  // namespace nv::fake
