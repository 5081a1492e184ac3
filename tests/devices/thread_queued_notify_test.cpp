#include "devices/thread_queued_notify.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "core/trace.h"
#include "devices/listener_link.h"
#include "devices/thread.h"

namespace osmera {
namespace {

TEST(ThreadQueuedNotify, TextPostsCoalesceAndHandlerFindsTheNewest) {
    LQueueDispatcher gui;
    int calls = 0;
    uint8_t news = 0;
    std::string texts[3];
    LThreadQueuedNotifyText* self = nullptr;
    LThreadQueuedNotifyText notify(
        [&] {
            ++calls;
            news = self->TakeNews();
            for (int i = 0; i < 3; ++i)
                texts[i] = self->Text(i);
        },
        &gui);
    self = &notify;

    notify.SetText(0, "a");
    notify.SetText(0, "b");
    notify.SetText(1, "c");
    notify.SetText(2, "first");
    notify.SetText(2, "second");
    EXPECT_EQ(gui.Pending(), 1u);
    EXPECT_EQ(gui.Pump(), 1);
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(news, 7);
    EXPECT_EQ(texts[0], "b");
    EXPECT_EQ(texts[1], "c");
    EXPECT_EQ(texts[2], "first");

    // The allocated slot keeps its first text: a later text notifies without news.
    notify.SetText(2, "third");
    gui.Pump();
    EXPECT_EQ(calls, 2);
    EXPECT_EQ(news, 0);
    EXPECT_EQ(texts[2], "first");

    // Slots hold 259 bytes and never end inside a UTF-8 character.
    notify.SetText(0, std::string(300, 'x'));
    notify.SetText(1, std::string(258, 'x') + "\xC3\xA9");
    gui.Pump();
    EXPECT_EQ(texts[0], std::string(259, 'x'));
    EXPECT_EQ(texts[1], std::string(258, 'x'));

    LTraceCapture trace;
    notify.SetText(3, "nowhere");
    EXPECT_EQ(gui.Pending(), 0u);
    EXPECT_TRUE(trace.Contains("LThreadQueuedNotifyText::SetText bad slot"));
}

TEST(ThreadQueuedNotify, QueuedCallOutlivingTheNotifierDoesNothing) {
    LQueueDispatcher gui;
    int calls = 0;
    auto notify = std::make_unique<LThreadQueuedNotify>([&] { ++calls; }, &gui);
    notify->Notify();
    notify.reset();
    EXPECT_EQ(gui.Pump(), 1);
    EXPECT_EQ(calls, 0);

    // Made without a dispatcher, a notifier takes the GUI dispatcher, or posts nowhere.
    SetGuiDispatcher(&gui);
    LThreadQueuedNotify viaGui([&] { ++calls; });
    SetGuiDispatcher(nullptr);
    viaGui.Notify();
    EXPECT_EQ(gui.Pump(), 1);
    EXPECT_EQ(calls, 1);
    LTraceCapture trace;
    LThreadQueuedNotify nowhere([&] { ++calls; });
    nowhere.Notify();
    EXPECT_TRUE(trace.Contains("LThreadQueuedNotify::LThreadQueuedNotify no dispatcher"));
}

// A worker reports positions while the test thread plays the GUI thread.
class Reporter : public LThread {
  public:
    explicit Reporter(LThreadQueuedNotifyPosition& notify) : notify_(notify) {}
    ~Reporter() override { StopThreadTimed(); }

  protected:
    void ThreadFunction() override {
        for (int i = 1; i <= 200 && !ShouldStop(); ++i)
            notify_.SetPosition(i * 0.05);
    }

  private:
    LThreadQueuedNotifyPosition& notify_;
};

TEST(ThreadQueuedNotify, WorkerReportsReachTheGuiThread) {
    LQueueDispatcher gui;
    std::vector<double> seen;
    LThreadQueuedNotifyPosition* self = nullptr;
    LThreadQueuedNotifyPosition notify([&] { seen.push_back(self->Position()); }, &gui);
    self = &notify;
    {
        Reporter worker(notify);
        worker.Start();
        while (worker.IsRunning())
            gui.WaitAndPump(5);
        worker.StopThreadTimed(2000);
    }
    gui.Pump();
    ASSERT_FALSE(seen.empty());
    EXPECT_LE(seen.size(), 200u);
    EXPECT_DOUBLE_EQ(seen.back(), 10.0);
    // A report that lands while the handler runs posts again, and both handlers may read
    // the same newest position: never older, possibly equal.
    for (size_t i = 1; i < seen.size(); ++i)
        EXPECT_GE(seen[i], seen[i - 1]);
}

// Levels a worker stores reach the listener through the handler on the dispatcher's
// thread, with the cookie; without a listener the same calls do nothing.
TEST(ListenerLink, WorkerLevelsReachTheListenerOnTheDispatcher) {
    struct Listener {
        void OnLevels(void* cookie, const LChannelLevels& levels) {
            cookies.push_back(cookie);
            seen.push_back(levels.level[1]);
        }
        std::vector<void*> cookies;
        std::vector<int> seen;
    } listener;
    LQueueDispatcher gui;
    LListenerLink<Listener>* self = nullptr;
    LListenerLink<Listener> link([&] { self->Call(&Listener::OnLevels, self->Levels()); }, &gui);
    self = &link;
    int cookie = 0;

    gui.Pump();
    link.Notify();
    gui.Pump();  // no listener yet: nothing is called
    link.Set(&listener, &cookie);
    std::thread worker([&] {
        for (int i = 1; i <= 100; ++i) {
            link.EditLevels([&](LChannelLevels& l) {
                l.channels = 2;
                l.level[1] = static_cast<int8_t>(i);
            });
            link.Notify();
        }
    });
    worker.join();
    gui.Pump();
    ASSERT_EQ(listener.seen, (std::vector<int>{100}));  // coalesced, newest levels
    EXPECT_EQ(listener.cookies, (std::vector<void*>{&cookie}));
}

}  // namespace
}  // namespace osmera
