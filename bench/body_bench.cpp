// The body of a usage event.

#include "bench/allocations.h"
#include "bench/benchmarks.h"
#include "bench/harness.h"
#include "ui/common/stat/event_record.h"

#include <cstdio>
#include <regex>
#include <utility>

namespace {

using Values = std::vector<std::pair<std::string, std::string>>;

const stats::TApplicationValues kApplication{.applicationId = "2",
                                             .version = "4.1.0.2210",
                                             .advType = "A",
                                             .campType = "summer",
                                             .instType = "full",
                                             .instRef = "partner-17",
                                             .instCh = "web",
                                             .guid = "7b0c2f1e-5a1d-4f6f-9a34-1c2d3e4f5a6b",
                                             .buildNumber = "2210",
                                             .country = "DE"};
const stats::TEvent kEvent{"install_done", "installer", "path", "C:\\Media \"A\" größer"};

/// The body with its placeholders in braces.
const std::string kTemplate =
    R"({"guid":"{GUID}","country_id":"{COUNTRY_ID}","pid":"{LICENSE_PID}","adv_type":"{ADVTYPE}",)"
    R"("camp_type":"{CAMPTYPE}","appid":"{APPID}","ver":"{VER}","event_type":"{EVENT_TYPE}",)"
    R"("event_number":"{EVENT_NUMBER}","src":"{SRC}","info_type":"{INFO_TYPE}","info":"{INFO}",)"
    R"("inst_type":"{INSTTYPE}","inst_ch":"{INSTCH}","inst_ref":"{INSTREF}","test":"{TEST}",)"
    R"("tc_build_num":"{TC_BUILD_NUM}","product_name":"{PRODUCT_NAME}","id_zel_keys":"{ID_ZEL_KEYS}"})";

std::string escaped(const std::string& value) {
    std::string text;
    for (const char c : value) {
        if (c == '"' || c == '\\') {
            text += '\\';
            text += c;
        } else if (static_cast<unsigned char>(c) < 0x20) {
            char code[8];
            std::snprintf(code, sizeof code, "\\u%04x", c);
            text += code;
        } else {
            text += c;
        }
    }
    return text;
}

Values eventValues(unsigned number) {
    const stats::TApplicationValues& a = kApplication;
    return {{"GUID", escaped(a.guid)},
            {"COUNTRY_ID", escaped(a.country)},
            {"LICENSE_PID", ""},
            {"ADVTYPE", escaped(a.advType)},
            {"CAMPTYPE", escaped(a.campType)},
            {"APPID", escaped(a.applicationId)},
            {"VER", escaped(a.version)},
            {"EVENT_TYPE", escaped(kEvent.eventType)},
            {"EVENT_NUMBER", std::to_string(number)},
            {"SRC", escaped(kEvent.source)},
            {"INFO_TYPE", escaped(kEvent.infoType)},
            {"INFO", escaped(kEvent.info)},
            {"INSTTYPE", escaped(a.instType)},
            {"INSTCH", escaped(a.instCh)},
            {"INSTREF", escaped(a.instRef)},
            {"TEST", "0"},
            {"TC_BUILD_NUM", escaped(a.buildNumber)},
            {"PRODUCT_NAME", ""},
            {"ID_ZEL_KEYS", ""}};
}

std::string byFindAndReplace(unsigned number) {
    std::string body = kTemplate;
    for (const auto& [name, value] : eventValues(number)) {
        const std::string placeholder = "{" + name + "}";
        for (auto at = body.find(placeholder); at != body.npos;
             at = body.find(placeholder, at + value.size()))
            body.replace(at, placeholder.size(), value);
    }
    return body;
}

std::string byRegex(unsigned number) {
    static const auto kPatterns = [] {
        std::vector<std::regex> patterns;
        for (const auto& [name, value] : eventValues(0))
            patterns.emplace_back("\\{" + name + "\\}", std::regex::optimize);
        return patterns;
    }();
    std::string body = kTemplate;
    std::size_t index = 0;
    for (const auto& [name, value] : eventValues(number))
        body = std::regex_replace(body, kPatterns[index++], value);
    return body;
}

std::string ours(stats::CEventRecord& record, unsigned number) {
    record.store(kApplication);
    record.store(kEvent, number, false);
    return record.body();
}

bool keepBody(const std::string& body) {
    bench::keep(body.data());
    return !body.empty();
}

} // namespace

void benchEventBody() {
    stats::CEventRecord record;
    const std::string body = ours(record, 1);
    bench::require(body == byFindAndReplace(1) && body == byRegex(1), "the bodies differ");

    unsigned number = 0;
    bench::measure(
        {.name = "body of one event",
         .ours = {"CEventRecord", [&] { return keepBody(ours(record, ++number)); }},
         .limit = bench::Contender{"a copy of the body", [&] { return keepBody(std::string(body)); }},
         .alternatives = {{"std::regex_replace", [&] { return keepBody(byRegex(++number)); }},
                          {"find and replace", [&] { return keepBody(byFindAndReplace(++number)); }}},
         .goal = {.mostToAlternative = 1, .mostSeconds = 3e-6}});

    constexpr int kCalls = 100;
    constexpr double kMostAllocations = 4;
    const auto count = [&](const auto& make) {
        const std::size_t before = bench::allocations();
        for (int i = 0; i < kCalls; ++i)
            keepBody(make());
        return static_cast<double>(bench::allocations() - before) / kCalls;
    };
    const double here = count([&] { return ours(record, ++number); });
    const double there = count([&] { return byFindAndReplace(++number); });
    bench::print({.path = "body of one event, allocations",
                  .ours = bench::format("%.1f", here),
                  .limit = "1",
                  .alternative = bench::format("%.1f (find and replace)", there),
                  .toLimit = bench::spread({here}),
                  .toAlternative = bench::spread({here / there}),
                  .goal = "at most 4",
                  .isMet = here <= kMostAllocations});
}
