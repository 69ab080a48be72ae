// A game may include the header where a packing of its own is in force: the records keep their layout, and
// the game's packing holds again behind the header.
#pragma pack(push, 1)
#include "tests/abi/RecordLayout.cpp"

struct OfTheGame {
    char c;
    int n;
};
static_assert(sizeof(OfTheGame) == 5, "the game's own packing is lost");
#pragma pack(pop)
