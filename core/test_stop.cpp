#include "core/test_stop.h"

#include <signal.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

namespace osmera {

void StopHereForTests(const char* point) {
    static const char* const wanted = std::getenv("OSMERA_TEST_STOP_AT");
    static const char* const armedBy = std::getenv("OSMERA_TEST_STOP_WHEN");
    if (wanted == nullptr || std::strcmp(wanted, point) != 0)
        return;
    if (armedBy == nullptr || ::access(armedBy, F_OK) == 0)
        ::raise(SIGSTOP);
}

}  // namespace osmera
