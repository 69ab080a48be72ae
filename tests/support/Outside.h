// Marks work that belongs to a test and not to the library: orders to fail pass over it.
#pragma once

namespace Support {

// For the length of a scope, on the thread that made it.
class Outside {
public:
    Outside() { ++Depth(); }
    ~Outside() { --Depth(); }
    Outside(const Outside&) = delete;
    Outside& operator=(const Outside&) = delete;

    static bool IsHere() { return Depth() > 0; }

private:
    static int& Depth()
    {
        static thread_local int nDepth = 0;
        return nDepth;
    }
};

}  // namespace Support
