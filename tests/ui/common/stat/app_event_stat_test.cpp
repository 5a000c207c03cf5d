#include "ui/common/stat/app_event_stat.h"

#include "corelog/logger.h"
#include "support/seam.h"
#include "text/escape.h"

#include <mutex>
#include <set>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <winhttp.h>

ZELSYS_SEAM(L"winhttp.dll", WinHttpSendRequest)

namespace {

/// Records the body of each post, and lets every post fail.
class EventSender : public testing::Test {
protected:
    EventSender() {
        CoreLog::setSettingsName("no\\such\\folder"); // no log: logging would take most of the time
        WinHttpSendRequestSeam::fake = [this](HINTERNET, LPCWSTR, DWORD, void* body, DWORD size, DWORD,
                                              DWORD_PTR) {
            const std::lock_guard guard(mutex);
            bodies.emplace_back(static_cast<const char*>(body), size);
            SetLastError(ERROR_WINHTTP_CANNOT_CONNECT);
            return FALSE;
        };
    }
    ~EventSender() override { WinHttpSendRequestSeam::restore(); }

    /// Returns the post's body for an event with the same text in all fields.
    static std::string posted(const std::string& text, std::uint32_t number) {
        stats::CEventRecord record;
        record.store(values(text));
        record.store({text, text, text, text}, number, false);
        return "data=" + text::percentEncode(record.body());
    }

    static stats::TApplicationValues values(const std::string& text) {
        return {text, text, text, text, text, text, text, text, text, text};
    }

    std::mutex mutex;
    std::vector<std::string> bodies;
    stats::CAppEventStat sender;
};

TEST_F(EventSender, CountsEventsFromOneForEachFirstEvent) {
    sender.sendEvent({}, true, 0);
    EXPECT_EQ(bodies.size(), 0u) << "the sender is not enabled yet";
    for (int call = 0; call < 2; ++call) {
        sender.sendFirst({.enabled = true}, values("a"), {"a", "a", "a", "a"}, nullptr);
        sender.sendEvent({"a", "a", "a", "a"}, true, 0);
        sender.sendEvent({"a", "a", "a", "a"}, true, 70);
        sender.sendEvent({"a", "a", "a", "a"}, false, 0);
        for (int wait = 0; wait < 1000 && WinHttpSendRequestSeam::calls < 4 * (call + 1); ++wait)
            Sleep(10);
        const std::lock_guard guard(mutex);
        EXPECT_EQ(bodies, (std::vector{posted("a", 1), posted("a", 2), posted("a", 70), posted("a", 3)}));
        bodies.clear();
    }
}

TEST_F(EventSender, ConcurrentCallsNeverMix) {
    std::set<std::string> expected;
    std::vector<std::jthread> threads;
    for (const char* name : {"a", "b", "c", "d"}) {
        const std::string text(3000, *name); // long enough for calls to overlap
        expected.insert(posted(text, 1));
        threads.emplace_back([this, text] {
            for (int i = 0; i < 200; ++i)
                sender.sendFirst({.enabled = true}, values(text), {text, text, text, text}, nullptr);
        });
    }
    threads.clear(); // joins them
    EXPECT_EQ(bodies.size(), 800u);
    EXPECT_EQ(std::set(bodies.begin(), bodies.end()), expected);

    const std::string text(3000, 'e');
    sender.sendFirst({.enabled = true}, values(text), {}, nullptr);
    bodies.clear();
    expected.clear();
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] {
            for (int j = 0; j < 200; ++j)
                sender.sendEvent({text, text, text, text}, true, 0);
        });
    threads.clear();
    for (std::uint32_t number = 2; number <= 801; ++number)
        expected.insert(posted(text, number));
    EXPECT_EQ(std::set(bodies.begin(), bodies.end()), expected) << "each number once";
}

TEST(EventRecord, AmpersandsTruncateNothingAndNoOldValueIsLeft) {
    stats::CEventRecord record;
    record.store({.instType = "old", .guid = "old"});
    record.store({.applicationId = "a&b={GUID}\"\\\n"});
    record.store({"x&y", {}, {}, {}}, 4294967295u, false);
    EXPECT_EQ(
        record.body(),
        R"({"guid":"","country_id":"","pid":"","adv_type":"","camp_type":"",)"
        R"("appid":"a\u0026b={GUID}\"\\\n","ver":"","event_type":"x\u0026y","event_number":"4294967295",)"
        R"("src":"","info_type":"","info":"","inst_type":"","inst_ch":"","inst_ref":"","test":"0",)"
        R"("tc_build_num":"","product_name":"","id_zel_keys":""})");
}

TEST(ProxySettings, KeysAndDefaults) {
    fs::CConfig section;
    const auto expect = [&section](const stats::TProxySettings& expected) {
        const auto found = stats::proxySettings(section);
        EXPECT_EQ(std::tie(found.host, found.port, found.user, found.password),
                  std::tie(expected.host, expected.port, expected.user, expected.password));
    };
    for (const char* key : {"ProxyAddress", "ProxyUser", "ProxyPw"})
        section.setValue(key, key);
    expect({.host = "", .port = 80, .user = "", .password = ""}); // type 0 means no proxy
    section.setValue("ProxyType", "2");
    expect({.host = "ProxyAddress", .port = 80, .user = "ProxyUser", .password = "ProxyPw"});
    section.setValue("ProxyPort", "8080");
    expect({.host = "ProxyAddress", .port = 8080, .user = "ProxyUser", .password = "ProxyPw"});
}

} // namespace
