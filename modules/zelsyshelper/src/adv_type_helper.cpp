#include "zelsyshelper.h"

#include "modules/zelsyshelper/src/export_frame.h"
#include "ui/common/stat/adv_type.h"

void parseTestDefAndDecideAdvType(const char* definition, uint8_t* result) {
    if (result == nullptr)
        return;
    *result = 0;
    frame::run(0, [=] {
        const auto variants = stats::parseTestDefinition(frame::owned(definition));
        *result = static_cast<std::uint8_t>(stats::drawVariant(variants));
        return 0;
    });
}
