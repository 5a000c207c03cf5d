#include "ui/common/stat/event_record.h"

#include "text/escape.h"

namespace stats {
namespace {

constexpr char kBodyTemplate[] = R"({"guid":"{GUID}",)"
                                 R"("country_id":"{COUNTRY_ID}",)"
                                 R"("pid":"{LICENSE_PID}",)"
                                 R"("adv_type":"{ADVTYPE}",)"
                                 R"("camp_type":"{CAMPTYPE}",)"
                                 R"("appid":"{APPID}",)"
                                 R"("ver":"{VER}",)"
                                 R"("event_type":"{EVENT_TYPE}",)"
                                 R"("event_number":"{EVENT_NUMBER}",)"
                                 R"("src":"{SRC}",)"
                                 R"("info_type":"{INFO_TYPE}",)"
                                 R"("info":"{INFO}",)"
                                 R"("inst_type":"{INSTTYPE}",)"
                                 R"("inst_ch":"{INSTCH}",)"
                                 R"("inst_ref":"{INSTREF}",)"
                                 R"("test":"{TEST}",)"
                                 R"("tc_build_num":"{TC_BUILD_NUM}",)"
                                 R"("product_name":"{PRODUCT_NAME}",)"
                                 R"("id_zel_keys":"{ID_ZEL_KEYS}"})";

} // namespace

void CEventRecord::store(const TApplicationValues& application) {
    put("APPID", application.applicationId);
    put("VER", application.version);
    put("ADVTYPE", application.advType);
    put("CAMPTYPE", application.campType);
    put("INSTTYPE", application.instType);
    put("INSTREF", application.instRef);
    put("INSTCH", application.instCh);
    put("GUID", application.guid);
    put("TC_BUILD_NUM", application.buildNumber);
    put("COUNTRY_ID", application.country);
}

void CEventRecord::store(const TEvent& event, std::uint32_t number, bool isTest) {
    put("EVENT_NUMBER", std::to_string(number));
    put("TEST", isTest ? "1" : "0");
    put("SRC", event.source);
    put("EVENT_TYPE", event.eventType);
    put("INFO_TYPE", event.infoType);
    put("INFO", event.info);
}

std::string CEventRecord::body() const {
    std::size_t size = sizeof kBodyTemplate;
    for (const auto& [key, value] : values_)
        size += value.size();
    std::string body;
    body.reserve(size);
    text::expandPlaceholders(kBodyTemplate, values_, false, body);
    return body;
}

void CEventRecord::put(const char* key, const std::string& value) {
    values_.insert_or_assign(key, text::jsonEscape(value));
}

} // namespace stats
