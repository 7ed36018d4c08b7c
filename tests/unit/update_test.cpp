// The update step inside a launch: the progress dialog's callback, told apart by who pressed Cancel.
#include <gtest/gtest.h>

#include "fake_platform.h"
#include "foundation/sentences.h"
#include "update/pipeline.h"

namespace nv {
namespace {

TEST(DownloadDialog, OwnCancelClosesAFinishedDownloadUsersCancelWaitsForTheWorker) {
  constexpr auto tick = platform::DialogEvent::timer, press = platform::DialogEvent::button_clicked;
  const std::wstring cancelling = L"content " + std::wstring(sentence::download_cancelling);
  // The worker done, closing, the event, its button; then the result, cancel, closing, and what the callback did.
  const std::tuple<bool, bool, platform::DialogEvent, int, int, bool, bool, std::vector<std::wstring>> cases[] = {
      {false, false, tick, 0, 0, false, false, {L"progress 40"}},
      {true, false, tick, 0, 0, false, true, {L"progress 40", L"click 2"}},
      {true, true, press, 2, 0, false, true, {}},              // the program's own press
      {false, false, press, 2, 1, true, false, {cancelling}},  // stays until the worker stops
      {true, false, press, 2, 0, true, false, {}},             // last moment: still cancelled
      {false, false, press, 1, 0, false, false, {}}};
  for (const auto& [done, closing, event, button, result, cancel_after, closing_after, actions] : cases) {
    fake::reset();
    DownloadProgress progress{40, false};
    std::promise<bool> worker;
    if (done) worker.set_value(true);
    std::future<bool> future = worker.get_future();
    DownloadDialogState state{&progress, &future, closing};
    EXPECT_EQ(download_dialog_callback(state, {}, event, button), result);
    EXPECT_EQ(std::tuple(progress.cancel.load(), state.closing, fake::dialog_actions),
              std::tuple(cancel_after, closing_after, actions));
  }
}

}  // namespace
}  // namespace nv
