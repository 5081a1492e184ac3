#include "core/test_stop.h"

#include <signal.h>

#include <cstdlib>
#include <cstring>

namespace osmera {

void StopHereForTests(const char* point) {
    static const char* const wanted = std::getenv("OSMERA_TEST_STOP_AT");
    if (wanted != nullptr && std::strcmp(wanted, point) == 0)
        ::raise(SIGSTOP);
}

}  // namespace osmera
