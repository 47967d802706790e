#include "companion/version.h"

const char* orvix::programVersion() {
    return ORVIX_VERSION;
}
