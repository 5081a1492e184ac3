#pragma once
// A stop for tests that kill the program at an exact point: when the environment variable
// OSMERA_TEST_STOP_AT names `point` ("journal-rename", "effect") and the file named by
// OSMERA_TEST_STOP_WHEN exists (or that variable is not set), the process stops itself
// (SIGSTOP) there, so the test that started it sees it stopped and kills it with SIGKILL.
// The file lets a test arm the stop only once the program has reached a known state.
// Does nothing when OSMERA_TEST_STOP_AT is not set.
//
// Any thread.

namespace osmera {

void StopHereForTests(const char* point);

}  // namespace osmera
