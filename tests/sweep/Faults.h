// Allocations and system calls of the library that fail on order, in a program of their own: the program
// defines malloc and those system calls itself, and the library file that it loads calls these.
#pragma once

namespace Faults {

enum class Kind { Memory, Calls };

// The library's code runs for the length of the scope, on the thread that made it. The threads that it makes
// are inside as well.
class Inside {
public:
    Inside();
    ~Inside();
    Inside(const Inside&) = delete;
    Inside& operator=(const Inside&) = delete;
};

// From now on counts the places of that kind, and lets nWidth of them fail from number nFirst on; 1 is the
// next one.
void Order(Kind kind, int nFirst, int nWidth);
// Nothing fails any more. How many places have been passed since the order.
int Release();

// What the library takes for the directory of the executable; static.
void SetDirectory(const char* pszDirectory);

}  // namespace Faults
