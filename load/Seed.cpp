#include "load/Seed.h"

#include <fstream>
#include <stdexcept>

#include "load/Users.h"
#include "sandbox/base/Files.h"

namespace Load {
namespace {

const char* const kShop = R"json("shops": [{
  "gameId": "LOADGAME",
  "menu": [{"branchId": "GOODS", "branchName": "Goods", "superBranchId": "", "sortOrder": 1}],
  "products": [{"productId": "POTION", "branchId": "GOODS", "productName": "Potion", "price": 1,
                "children": [{"childProductId": "ITEM-POTION", "count": 1}]}]
}])json";

}  // namespace

void WriteSeed(const std::string& strPath, int nUsers)
{
    std::ofstream file(Sandbox::PathOf(strPath), std::ios::trunc);
    file << "{" << kShop << ",\n\"users\": [";
    for (int n = 0; n < nUsers; ++n) {
        file << (n == 0 ? "\n" : ",\n") << R"({"userId": ")" << UserID(n) << R"(", "userNo": ")" << UserNo(n)
             << R"(", "ruvCoin": 1000000000})";
    }
    file << "\n]}\n";
    file.close();
    if (!file)
        throw std::runtime_error("The seed file '" + strPath + "' cannot be written.");
}

}  // namespace Load
