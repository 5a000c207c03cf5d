#include <zelsyshelper.h>

int main(void) {
    return isModuleLoaded("linked.exe") == 1 && getIntFromPropertyFile(0, 0) == ZELSYSHELPER_NO_FILE ? 42 : 1;
}
