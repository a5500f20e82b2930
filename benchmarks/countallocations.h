// Counts what the program takes from the heap through operator new.
#pragma once

// Since the start of the program.
[[nodiscard]] long long Allocations();
