// The support report and dialog do not exist yet: no report can be saved and
// the dialog cannot be shown.
#include "foundation/process_values.h"
#include "foundation/exit_code.h"
#include "support/report.h"
#include "support/support_dialog.h"

namespace nv {

bool save_support_report(const std::wstring&, const std::wstring&, bool) { return false; }

int run_support_dialog(std::wstring) { return silent_mode ? exit_code::bad_use : exit_code::action_failed; }

}  // namespace nv
