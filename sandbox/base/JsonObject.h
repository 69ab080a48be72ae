// JSON that somebody wrote by hand, read strictly: wrong types and unknown keys are mistakes with a place.
#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <vector>

namespace Sandbox {

using Json = nlohmann::ordered_json;  // what is shown keeps the order in which it was put together

// The text names the place, the key and what is expected there.
class JsonError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

// One object. Every key has to be asked for: those left over are mistakes. Everything throws JsonError.
class JsonObject {
public:
    // The JSON must outlive the object. strPlace begins every error text; empty: the key begins it.
    JsonObject(const Json& json, std::string strPlace);

    bool Has(const std::string& strKey) const { return m_json.contains(strKey); }
    // Null if it is not there.
    const Json* Find(const std::string& strKey);
    // Without a default the key is compulsory.
    std::string Text(const std::string& strKey, std::size_t nMax, const char* pszDefault);
    std::int64_t Number(const std::string& strKey, std::int64_t nMin, std::int64_t nMax,
                        std::int64_t nDefault);
    std::int64_t Number(const std::string& strKey, std::int64_t nMin, std::int64_t nMax);
    double Fraction(const std::string& strKey, double dDefault);  // from 0 to 1
    bool Flag(const std::string& strKey);
    // Calls each(element, place) for every element; a key that is not there is an empty list.
    template <class Each>
    void List(const std::string& strKey, const Each& each)
    {
        const Json* const pValue = Find(strKey);
        if (pValue == nullptr)
            return;
        if (!pValue->is_array())
            Fail(strKey, "a list is expected");
        for (std::size_t i = 0; i < pValue->size(); ++i)
            each((*pValue)[i], PlaceOf(strKey) + '[' + std::to_string(i) + ']');
    }
    // Fails if there is a key that nobody has asked for.
    void Done() const;
    [[noreturn]] void Fail(const std::string& strKey, const std::string& strWhat) const;

private:
    std::string PlaceOf(const std::string& strKey) const;

    const Json& m_json;
    std::string m_strPlace;
    std::vector<std::string> m_vecAsked;
};

}  // namespace Sandbox
