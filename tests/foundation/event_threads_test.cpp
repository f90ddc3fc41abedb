// Two threads send while a third ticks: nothing is lost, each sender's order is kept, and the
// ticking thread sleeps in between. Meant to run under ThreadSanitizer.

#include <gtest/gtest.h>
#include <pthread.h>
#include <string>
#include <thread>
#include <vector>

#include "vesta_hbbtv_appman.h"

#include "tests/support/counted_memory.h"
#include "tests/support/event_records.h"
#include "tests/support/fake_browser.h"
#include "tests/support/fake_platform.h"
#include "tests/support/journal.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

const uint32_t senderCount = 2;
const uint32_t eventCount = 5000;

// Of the ticking thread alone.
std::vector<uint32_t> nextOf(senderCount);
bool isOrderKept = true;

void receive(const char* text, uint32_t number, const char*, const char*, const char*,
             uint32_t sender)
{
    uint32_t& next = nextOf[sender];
    isOrderKept = isOrderKept && number == next && std::to_string(number) == text;
    ++next;
}

void sendAll(uint32_t sender)
{
    for (uint32_t number = 0; number < eventCount; ++number) {
        const std::string text = std::to_string(number);
        vesta_hbbtv_send_event(
            E_DSMCC_STREAM_EVENT,
            streamEventRecord(receive, number, sender, {text.c_str(), nullptr, "x", nullptr}));
    }
}

TEST(EventThreads, TwoSendersAndOneTickingThreadLoseNothing)
{
    pthread_cond_t condition = PTHREAD_COND_INITIALIZER;
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    FakePlatform::instance().reset();
    nextOf.assign(senderCount, 0);
    vesta_hbbtv_set_sendevent_condition(&condition, &mutex);
    vesta_hbbtv_init(FakeBrowser::instance().handle());

    std::thread ticking([&condition, &mutex] {
        for (uint32_t ran = 0; ran < senderCount * eventCount; ++ran) {
            // A sender signals under the mutex after it has queued: a tick in vain with the mutex
            // held cannot miss the wake-up.
            pthread_mutex_lock(&mutex);
            while (!vesta_hbbtv_tick())
                pthread_cond_wait(&condition, &mutex);
            pthread_mutex_unlock(&mutex);
        }
    });
    std::vector<std::thread> senders;
    for (uint32_t sender = 0; sender < senderCount; ++sender)
        senders.emplace_back(sendAll, sender);
    for (std::thread& sender : senders)
        sender.join();
    ticking.join();

    EXPECT_TRUE(isOrderKept);
    EXPECT_EQ(nextOf, std::vector<uint32_t>(senderCount, eventCount));
    EXPECT_FALSE(vesta_hbbtv_tick());
    vesta_hbbtv_shutdown();
    vesta_hbbtv_set_sendevent_condition(nullptr, nullptr);
    EXPECT_EQ(outstandingBlocks(), 0u);
    Journal::instance().clear();
    pthread_cond_destroy(&condition);
    pthread_mutex_destroy(&mutex);
}

}  // namespace
