#include "update/update_decision.h"

#include "build_config.h"
#include "foundation/process_values.h"
#include "foundation/sentences.h"
#include "platform/dialogs.h"
#include "update/feed.h"
#include "update/manifest.h"
#include "update/pipeline.h"
#include "update/schedule.h"

namespace nv {
namespace {

// The feed's handles close, in their order, when the request goes, whatever happened.
std::string fetch_manifest() {
  FeedRequest request{make_manifest_state()};
  return fetch_manifest_text(request);
}

// The check, the fetch and the manifest: nothing of theirs reaches the user.
bool newer_release(ReleaseManifest& manifest) {
  try {
    if (!update_check_due()) return false;
    manifest = parse_release_manifest(fetch_manifest());
    return manifest.revision > build::current_revision;
  } catch (...) {
    return false;
  }
}

}  // namespace

bool offer_update(const std::wstring& host_path, bool resume_dark, const std::wstring& installation,
                  const std::wstring& browser_dark, const std::wstring& diagnostic_path) {
  ReleaseManifest manifest;
  if (!newer_release(manifest)) return false;
  const std::wstring question =
      sentence::update_question_lead + manifest.version + sentence::update_question;
  const unsigned flags = platform::mb_yesno | platform::mb_iconquestion | platform::mb_defbutton2;
  if (show_message(question, flags) != platform::id_yes) return false;
  return run_update_pipeline(manifest, host_path, resume_dark, installation, browser_dark,
                             diagnostic_path);
}

}  // namespace nv
