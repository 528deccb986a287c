// Task allocator on the C heap; a null free is allowed.
#include "platform/com/task_mem.h"

#include <cstdlib>

void* CoTaskMemAlloc(size_t bytes) { return std::malloc(bytes ? bytes : 1); }
void CoTaskMemFree(void* p) { std::free(p); }
