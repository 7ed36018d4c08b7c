// The update step inside a launch: the progress dialog's callback, told apart
// by who pressed Cancel, and the pipeline's message for each way it can end.
#include <gtest/gtest.h>

#include "fake_platform.h"
#include "foundation/sentences.h"
#include "update/pipeline.h"

namespace nv {
namespace {

TEST(DownloadDialog, OwnCancelClosesAFinishedDownloadUsersCancelWaitsForTheWorker) {
  using platform::DialogEvent;
  struct Case {
    bool worker_done;
    bool closing;
    DialogEvent event;
    int button;
    int result;
    bool cancel_after;
    bool closing_after;
    std::vector<std::wstring> actions;
  };
  const std::wstring cancelling = std::wstring(L"content ") + sentence::download_cancelling;
  const Case cases[] = {
      {false, false, DialogEvent::timer, 0, 0, false, false, {L"progress 40"}},
      {true, false, DialogEvent::timer, 0, 0, false, true, {L"progress 40", L"click 2"}},
      {true, true, DialogEvent::button_clicked, 2, 0, false, true, {}},        // the program's own press
      {false, false, DialogEvent::button_clicked, 2, 1, true, false, {cancelling}},  // stays until the worker stops
      {true, false, DialogEvent::button_clicked, 2, 0, true, false, {}},       // last moment: still cancelled
      {false, false, DialogEvent::button_clicked, 1, 0, false, false, {}},
  };
  for (const auto& c : cases) {
    fake::reset();
    DownloadProgress progress;
    progress.percent = 40;
    std::promise<bool> promise;
    std::future<bool> worker = promise.get_future();
    if (c.worker_done) promise.set_value(true);
    DownloadDialogState state{&progress, &worker, c.closing};
    EXPECT_EQ(download_dialog_callback(state, {}, c.event, c.button), c.result);
    EXPECT_EQ(progress.cancel.load(), c.cancel_after);
    EXPECT_EQ(state.closing, c.closing_after);
    EXPECT_EQ(fake::dialog_actions, c.actions);
    if (!c.worker_done) promise.set_value(false);
  }
}

}  // namespace
}  // namespace nv
