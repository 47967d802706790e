#include "base/version.h"

const char* orvix::programVersion() {
    return ORVIX_VERSION;
}
