// A store between the module and the real one: both libraries in one, every operation forwarded
// but for the calls that a test has told to fail.
//
// Tests put it into a data directory under the names of the two libraries and reach the function
// below through the same file. Not for several threads at once.
#pragma once

#include <cstdint>

extern "C" {

/// From now on the call-th call (1 is the next one) of an operation does nothing and returns the
/// result. False when there is no such operation.
bool StoreDoubleFail(const char* operation, int32_t result, uint32_t call);

/// From now on notes the calls of this operation; null for none.
void StoreDoubleWatch(const char* operation);

/// What the watched calls were given, a line each: texts and numbers, divided by blanks.
const char* StoreDoubleSeen();

/// The number of calls told to fail that have not come; forgets them.
uint32_t StoreDoubleReset();
}
