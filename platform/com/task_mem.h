// The component model's task allocator: memory handed across an interface and freed by the caller.
#pragma once
#include <cstddef>

void* CoTaskMemAlloc(size_t bytes);
void CoTaskMemFree(void* p);
