#pragma once
// A stop for tests that kill the program at an exact point: when the environment variable
// OSMERA_TEST_STOP_AT names `point` ("journal-rename", "effect"), the process stops itself
// (SIGSTOP) there, so a test that started it sees it stopped and kills it with SIGKILL.
// Does nothing otherwise; the variable is read once.
//
// Any thread.

namespace osmera {

void StopHereForTests(const char* point);

}  // namespace osmera
