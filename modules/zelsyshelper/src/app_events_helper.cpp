#include "zelsyshelper.h"

#include "corelog/log_message.h"
#include "modules/zelsyshelper/src/export_frame.h"
#include "ui/common/stat/app_event_stat.h"
#include "win32/process.h"

namespace {

/// The difference between the two exports.
struct Kind {
    const char* tag;
    bool isFull;
};

constexpr Kind kShort{"sendAppEvent", false};
constexpr Kind kFull{"sendAppEventFull", true};

CoreLog::CLogMsgMultibyte argumentLog(CoreLog::ILogger* logger, const Kind& kind, std::uint32_t line) {
    return {logger, 6, kind.tag, __FILE__, line};
}

void logArguments(CoreLog::ILogger* logger, const Kind& kind, const stats::TApplicationValues& application,
                  const stats::TEvent& event) {
    auto message = argumentLog(logger, kind, __LINE__);
    message << "Event Name: " << event.eventType << " Src: " << event.source << " Info: " << event.info
            << " App Id: " << application.applicationId << " Version: " << application.version
            << " Adv Type: " << application.advType << " Camp Type: " << application.campType;
    if (kind.isFull)
        message << " Inst Type: " << application.instType << " Inst Ref: " << application.instRef
                << " Inst Ch: " << application.instCh;
    message << " Guid: " << application.guid << " TC build num: " << application.buildNumber;
}

void send(const Kind& kind, stats::TApplicationValues application, const stats::TEvent& event) {
    CoreLog::LoggerSlot logger;
    CoreLog::createLogger(logger); // if it fails, the messages below are discarded
    logArguments(logger.get(), kind, application, event);

    fs::CConfig& common = stats::commonConfig();
    application.country = stats::location(common);
    const stats::TSenderSettings settings{
        .enabled = true,
        .isTest = win32::environmentVariable(L"SET_TEST_STAT_HOST") == L"1",
        .proxy = stats::proxySettings(common),
    };
    stats::appEventStat().sendFirst(settings, application, event, logger.get());
    if (kind.isFull)
        argumentLog(logger.get(), kind, __LINE__) << "<--sendAppEventFull";
}

/// Implements both exports. The short one passes no data of the installation.
uint64_t run(const Kind& kind, const char* eventName, const char* source, const char* infoType,
             const char* info, const char* appId, const char* version, const char* advType,
             const char* campType, const char* instType, const char* instRef, const char* instCh,
             const char* guid, const char* buildNumber) {
    return frame::run(0, [&] {
        // During process exit, the static destructor of another DLL can call this function. The system has
        // ended all other threads: without WinHTTP's threads no exchange completes, and an ended thread may
        // have held a lock of this library.
        if (win32::isProcessEnding())
            return 0;
        using frame::owned;
        send(kind,
             {.applicationId = owned(appId),
              .version = owned(version),
              .advType = owned(advType),
              .campType = owned(campType),
              .instType = owned(instType),
              .instRef = owned(instRef),
              .instCh = owned(instCh),
              .guid = owned(guid),
              .buildNumber = owned(buildNumber)},
             {owned(eventName), owned(source), owned(infoType), owned(info)});
        return 0;
    });
}

} // namespace

uint64_t sendAppEvent(const char* eventName, const char* source, const char* infoType, const char* info,
                      const char* appId, const char* version, const char* advType, const char* campType,
                      const char* guid, const char* buildNumber) {
    return run(kShort, eventName, source, infoType, info, appId, version, advType, campType, nullptr, nullptr,
               nullptr, guid, buildNumber);
}

uint64_t sendAppEventFull(const char* eventName, const char* source, const char* infoType, const char* info,
                          const char* appId, const char* version, const char* advType, const char* campType,
                          const char* instType, const char* instRef, const char* instCh, const char* guid,
                          const char* buildNumber) {
    return run(kFull, eventName, source, infoType, info, appId, version, advType, campType, instType, instRef,
               instCh, guid, buildNumber);
}
