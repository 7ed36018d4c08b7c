// The feed's deadline and the download's read loop, on scripted clocks and responses, and the
// download's progress dialog, told apart by who pressed Cancel.
#include <gtest/gtest.h>

#include "fake_platform.h"
#include "foundation/failure.h"
#include "foundation/sentences.h"
#include "test_support.h"
#include "update/download.h"
#include "update/feed.h"
#include "update/pipeline.h"

namespace nv {
namespace {

TEST(FeedDeadline, PassesAtTheBudgetOrWhenTheClockGoesBack) {
  const std::uint64_t cases[][4] = {// start, now, passed, time left
                                    {1000, 1000, 0, 3000}, {1000, 3999, 0, 1},
                                    {1000, 4000, 1, 0},    {1000, 999, 1, 0},
                                    {0, UINT64_MAX, 1, 0}, {UINT64_MAX - 5, UINT64_MAX, 0, 2995}};
  for (const auto& c : cases)
    EXPECT_EQ(std::tuple(feed_deadline_passed(c[0], c[1]), feed_time_left(c[0], c[1])),
              std::tuple(c[2] == 1, c[3]));
}

TEST(CopyResponseToFile, ChecksInTheirOrder) {
  // The size; the reads (-1 fails); the call during which the user cancels (0 before the first
  // read, one past the last read the flush, -1 never); whether the second write fails; the flush's
  // result. Then the outcome.
  struct Case {
    std::uint64_t size;
    std::vector<int> reads;
    int cancel_at;
    bool bad_write, flush;  // the script
    std::string word;
    std::size_t written, reads_made, percent;  // the outcome
  } const cases[] = {{10, {4, 6, 0}, -1, false, true, "no failure", 10, 3, 100},
                     {0, {0}, -1, false, true, "no failure", 0, 1, 0},
                     {10, {4, 7, 0}, -1, false, true, failure::download_size, 4, 2, 40},
                     {10, {4, 5, 0}, -1, false, true, failure::download_incomplete, 9, 3, 90},
                     {10, {4, -1}, -1, false, true, failure::download_network, 4, 2, 40},
                     {10, {4, 6, 0}, 0, false, true, failure::download_cancelled, 0, 0, 0},
                     {10, {4, 6, 0}, 2, false, true, failure::download_cancelled, 4, 2, 40},
                     {10, {4, 6, 0}, 4, false, true, failure::download_cancelled, 10, 3, 100},
                     {10, {4, 6, 0}, -1, true, true, failure::download_file, 4, 2, 40},
                     {10, {4, 6, 0}, -1, false, false, failure::download_incomplete, 10, 3, 100}};
  for (const Case& c : cases) {
    DownloadProgress progress{0, c.cancel_at == 0};
    std::size_t reads = 0;
    std::string file;
    const auto read = [&](char* buffer, std::uint32_t capacity, std::uint32_t& count) {
      const int n = capacity == download_read_size && reads < c.reads.size() ? c.reads[reads] : -1;
      if (static_cast<int>(++reads) == c.cancel_at) progress.cancel = true;
      std::fill_n(buffer, count = static_cast<std::uint32_t>(std::max(n, 0)), 'x');
      return n >= 0;
    };
    const auto write = [&](const char* bytes, std::uint32_t n) {
      return !(c.bad_write && !file.empty()) && file.append(bytes, n).size();
    };
    const auto flush = [&] {
      if (static_cast<int>(reads + 1) == c.cancel_at) progress.cancel = true;
      return c.flush;
    };
    const std::string word = test::failure_of([&] {
      copy_response_to_file(c.size, progress, read, {write, flush});
    });
    EXPECT_EQ(std::tuple(word, file.size(), reads, progress.percent.load()),
              std::tuple(c.word, c.written, c.reads_made, c.percent))
        << &c - cases;
  }
}

TEST(DownloadDialog, OwnCancelClosesAFinishedDownloadUsersCancelWaitsForTheWorker) {
  constexpr auto tick = platform::DialogEvent::timer, press = platform::DialogEvent::button_clicked;
  const std::wstring cancelling = L"content " + std::wstring(sentence::download_cancelling);
  // The worker done, closing, the event, its button; then the result, cancel, closing, and what the
  // callback did.
  const std::tuple<bool, bool, platform::DialogEvent, int, int, bool, bool,
                   std::vector<std::wstring>>
      cases[] = {
          {false, false, tick, 0, 0, false, false, {L"progress 40"}},
          {true, false, tick, 0, 0, false, true, {L"progress 40", L"click 2"}},
          {true, true, press, 2, 0, false, true, {}},              // the program's own press
          {false, false, press, 2, 1, true, false, {cancelling}},  // stays until the worker stops
          {true, false, press, 2, 0, true, false, {}},             // last moment: still cancelled
          {false, false, press, 1, 0, false, false, {}}};
  for (const auto& [done, closing, event, button, result, cancel_after, closing_after, actions] :
       cases) {
    fake = {};
    DownloadProgress progress{40, false};
    std::promise<bool> worker;
    if (done) worker.set_value(true);
    std::future<bool> future = worker.get_future();
    DownloadDialogState state{&progress, &future, closing};
    EXPECT_EQ((std::tuple{download_dialog_callback(state, {}, event, button),
                          progress.cancel.load(), state.closing, fake.dialog_actions}),
              std::tuple(result, cancel_after, closing_after, actions));
  }
}

}  // namespace
}  // namespace nv
