#include "ui/common/stat/app_event_stat.h"

#include "corelog/log_message.h"
#include "text/escape.h"
#include "ui/common/stat/endpoints.h"
#include "win32/process.h"
#include "xferlib/xferlib.h"

namespace stats {
namespace {

constexpr char kTag[] = "AppEventStat";
constexpr std::int32_t kFirstErrorStatus = 400;

xferlib::Response fetch(const xferlib::Request& request) {
    xferlib::Response response = xferlib::fetch(request);
    if (response.code == 0 && response.status >= kFirstErrorStatus)
        response = xferlib::fetch(request);
    return response;
}

void logOutcome(const xferlib::Response& response, CoreLog::ILogger* logger) {
    if (response.code != 0)
        CoreLog::CLogMsgMultibyte(logger, 7, kTag, __FILE__, __LINE__)
            << "stats::sendEvent: curl " << response.code;
    else if (response.status < kFirstErrorStatus)
        CoreLog::CLogMsgMultibyte(logger, 7, kTag, __FILE__, __LINE__) << "stats::sendEvent: ok";
    else
        CoreLog::CLogMsgMultibyte(logger, 3, kTag, __FILE__, __LINE__)
            << "stats::sendEvent rejected: http " << response.status << " | " << response.body;
}

} // namespace

void CAppEventStat::sendFirst(const TSenderSettings& settings, const TApplicationValues& application,
                              const TEvent& event, CoreLog::ILogger* logger) {
    std::optional<Post> post;
    {
        const std::lock_guard guard(mutex_);
        settings_ = settings;
        counter_ = 0;
        record_.store(application);
        post = makePost(event, 0);
    }
    if (post)
        send(*post, logger);
}

void CAppEventStat::sendEvent(const TEvent& event, bool synchronous, std::uint32_t eventNumber) {
    std::optional<Post> post;
    {
        const std::lock_guard guard(mutex_);
        post = makePost(event, eventNumber);
    }
    if (!post)
        return;
    const auto work = [post = std::move(*post)] {
        CoreLog::LoggerSlot logger;
        CoreLog::createLogger(logger); // if it fails, the outcome is not logged
        send(post, logger.get());
    };
    if (synchronous)
        work();
    else
        win32::runDetached(work);
}

/// Builds the post of an event; nullopt while the sender is disabled. The caller holds the mutex.
std::optional<CAppEventStat::Post> CAppEventStat::makePost(const TEvent& event, std::uint32_t eventNumber) {
    if (!settings_.enabled)
        return std::nullopt;
    record_.store(event, eventNumber != 0 ? eventNumber : ++counter_, settings_.isTest);
    return Post{record_.body(), settings_.proxy};
}

void CAppEventStat::send(const Post& post, CoreLog::ILogger* logger) {
    xferlib::init();
    logOutcome(fetch({
                   .url = std::string(kStatisticsUrl) + "/AddEventJSONString.php",
                   .body = "data=" + text::percentEncode(post.body),
                   .headers = {"Content-Type: application/x-www-form-urlencoded"},
                   .proxyHost = post.proxy.host,
                   .proxyPort = post.proxy.port,
                   .proxyUser = post.proxy.user,
                   .proxyPassword = post.proxy.password,
                   .attempts = 1,
                   .timeoutSeconds = 15,
                   .connectTimeoutSeconds = 0,
                   .redirectLimit = 10,
                   .post = true,
               }),
               logger);
}

CAppEventStat& appEventStat() {
    static CAppEventStat instance;
    return instance;
}

} // namespace stats
