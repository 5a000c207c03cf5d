#include "ui/common/stat/event_record.h"

#include <gtest/gtest.h>

namespace {

TEST(EventRecord, EmptyFieldsAfterAnAmpersandCutNothingAndNothingIsLeftOfTheLastCall) {
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

} // namespace
