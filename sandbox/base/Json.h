// JSON in the sandbox: the type that everything uses, how it is written, and a strict reader for what people
// wrote by hand. Only sources that look into JSON include the JSON library itself, which is slow to compile.
#pragma once

#include <cstdint>
#include <functional>
#include <nlohmann/json_fwd.hpp>
#include <stdexcept>
#include <string>
#include <vector>

namespace Sandbox {

using Json = nlohmann::ordered_json;  // answers show their keys in the order in which they were added

// JSON as text on one line, or indented by nIndent spaces a level. Bytes that are not UTF-8 are replaced, so
// that any text of a connector can be shown.
std::string DumpJson(const Json& json, int nIndent = -1);

// What is wrong with the JSON. The text names the place, the key and what is expected there.
class JsonError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Reads one JSON object key by key. A wrong type, a value out of range, a missing compulsory key and a key
// that was never asked for are mistakes: the function that meets one throws JsonError.
class JsonObject {
public:
    // The JSON must outlive the object. strPlace begins every error text; with an empty place the key does.
    JsonObject(const Json& json, std::string strPlace);

    const Json& Get() const { return m_json; }
    bool Has(const std::string& strKey) const;
    // The value of a key of any type; null if the object has no such key.
    const Json* Find(const std::string& strKey);
    // A text of at most nMax bytes. With null as its default the key is compulsory.
    std::string Text(const std::string& strKey, std::size_t nMax, const char* pszDefault);
    // A whole number from nMin to nMax. Without a default the key is compulsory.
    std::int64_t Number(const std::string& strKey, std::int64_t nMin, std::int64_t nMax,
                        std::int64_t nDefault);
    std::int64_t Number(const std::string& strKey, std::int64_t nMin, std::int64_t nMax);
    double Fraction(const std::string& strKey, double dDefault);  // from 0 to 1
    bool Flag(const std::string& strKey);                         // false if the key is not there
    // Calls each(element, its place) for every element; a key that is not there is an empty list.
    void List(const std::string& strKey,
              const std::function<void(const Json& element, const std::string& strPlace)>& each);
    // Throws for the first key that none of the functions above has asked for.
    void Done() const;
    // Throws the error of this key; an empty key stands for the object as a whole.
    [[noreturn]] void Fail(const std::string& strKey, const std::string& strWhat) const;

private:
    std::string PlaceOf(const std::string& strKey) const;

    const Json& m_json;
    std::string m_strPlace;
    std::vector<std::string> m_vecAsked;
};

}  // namespace Sandbox
