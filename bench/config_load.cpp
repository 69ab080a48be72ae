// A settings file of 1,000 and one of 10,000 products and event codes. Prints the time of a load, how it
// grows, its ratio to that of a well-known XML reader in the same run, and the memory of a load.
//
// What is compared: CConfigReader::Load frees the document of the load before, reads and parses the file and
// enters what it holds into two new maps, as the first load of a process does. The yardstick frees its
// document of the round before, reads and parses the file with tinyxml2 and, in its second row, walks the
// entries from the first to the last into two empty std::map. The rounds take turns; each figure is a median
// of processor time.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <map>
#include <memory>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include <malloc.h>
#ifdef VELKAR_BENCH_TINYXML2
#include <tinyxml2.h>
#endif

#include "config/BillingIdMap.h"
#include "config/ConfigReader.h"
#include "config/EventCodeMap.h"
#include "platform/Host.h"

// What the program has allocated while g_bCount is set, by the size that the system gave. One thread. The
// operators are not inlined, because the compiler would take malloc and operator delete for a mismatch.
namespace {
bool g_bCount = false;
std::size_t g_nBytes = 0, g_nPeak = 0;
std::size_t SizeOf(void* p)
{
#ifdef __linux__
    return malloc_usable_size(p);
#else
    return _msize(p);
#endif
}
}  // namespace
[[gnu::noinline]] void* operator new(std::size_t nSize)
{
    void* const p = std::malloc(nSize);
    if (p == nullptr)
        throw std::bad_alloc();
    if (g_bCount) {
        g_nBytes += SizeOf(p);
        g_nPeak = std::max(g_nPeak, g_nBytes);
    }
    return p;
}
[[gnu::noinline]] void operator delete(void* p) noexcept
{
    if (g_bCount && p != nullptr)
        g_nBytes -= SizeOf(p);
    std::free(p);
}
[[gnu::noinline]] void operator delete(void* p, std::size_t) noexcept { operator delete(p); }
// Standard memory resources ask for an alignment even where every allocation has it.
[[gnu::noinline]] void* operator new(std::size_t nSize, std::align_val_t alignment)
{
    if (static_cast<std::size_t>(alignment) > __STDCPP_DEFAULT_NEW_ALIGNMENT__)
        throw std::bad_alloc();
    return operator new(nSize);
}
[[gnu::noinline]] void operator delete(void* p, std::align_val_t) noexcept { operator delete(p); }
[[gnu::noinline]] void operator delete(void* p, std::size_t, std::align_val_t) noexcept
{
    operator delete(p);
}

namespace {

constexpr int kRounds = 31;

std::string SettingsText(int nCount)
{
    std::string products, events;
    for (int n = 1; n <= nCount; ++n) {
        const std::string strIndex = std::to_string(n);
        products += "<property_array name='" + strIndex + "' size='3' value0='" + strIndex +
                    "' value1='Product number " + strIndex + "' value2='1'/>\n";
        events += "<property name='" + std::to_string(n - 1) + "' value='Event number " + strIndex + "'/>\n";
    }
    const std::string strCount = std::to_string(nCount);
    return "<TARVO><module name='VELKAR'><group name='CONNECTOR_INFO'>"
           "<property name='SERVER_IP' value='127.0.0.1'/><property name='SERVER_PORT' value='1'/>"
           "<property name='HEARTBEAT_CYCLE' value='1'/><property name='RECONNECT_CYCLE' value='1'/>"
           "<property name='CHARGE_CYCLE' value='1'/><property name='USE_USER_NUMBER' value='true'/></group>"
           "<group name='BILLING_ID_INFO'><property name='ID_COUNT' value='" +
           strCount + "'/>\n" + products +
           "</group><group name='SPECIFIC_EVENT_CODE_INFO'><property name='EVENT_CODE_COUNT' value='" +
           strCount + "'/>\n" + events +
           "</group><group name='LOGOVA_INFO'><property name='LOGOVA_CONFIG_FILE' value='a'/>"
           "<property name='LOGOVA_SERVICE' value='a'/><property name='LOGOVA_LOGGER' value='a'/></group>"
           "</module></TARVO>";
}

// Milliseconds of processor time of one call; below 0 if the call fails.
template <class Function>
double TimeOf(Function function)
{
    const std::clock_t start = std::clock();
    if (!function())
        return -1;
    return 1000.0 * static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
}

// -1 if one of the times is a failure.
double Median(std::vector<double> vecTimes)
{
    std::sort(vecTimes.begin(), vecTimes.end());
    return vecTimes.empty() || vecTimes.front() < 0 ? -1 : vecTimes[vecTimes.size() / 2];
}

#ifdef VELKAR_BENCH_TINYXML2

// What the second reader makes of a file.
class Yardstick {
public:
    bool Parse(const char* pszPath)
    {
        m_document = std::make_unique<tinyxml2::XMLDocument>();
        return m_document->LoadFile(pszPath) == tinyxml2::XML_SUCCESS;
    }

    // The groups stand in a known order, and so do their entries: nothing is looked for.
    bool ParseAndWalk(const char* pszPath, int nCount)
    {
        m_mapProducts.clear();
        m_mapEvents.clear();
        if (!Parse(pszPath))
            return false;
        for (const auto* pGroup = m_document->RootElement()->FirstChildElement()->FirstChildElement();
             pGroup != nullptr; pGroup = pGroup->NextSiblingElement()) {
            const std::string strGroup = pGroup->Attribute("name");
            if (strGroup == "BILLING_ID_INFO")
                WalkProducts(*pGroup);
            else if (strGroup == "SPECIFIC_EVENT_CODE_INFO")
                WalkEvents(*pGroup);
        }
        const auto nExpected = static_cast<std::size_t>(nCount);
        return m_mapProducts.size() == nExpected && m_mapEvents.size() == nExpected;
    }

private:
    void WalkProducts(const tinyxml2::XMLElement& group)
    {
        for (const auto* p = group.FirstChildElement("property_array"); p != nullptr;
             p = p->NextSiblingElement("property_array")) {
            m_mapProducts.emplace(
                std::atoi(p->Attribute("value0")),
                std::pair(std::atoi(p->Attribute("value2")), std::string(p->Attribute("value1"))));
        }
    }

    void WalkEvents(const tinyxml2::XMLElement& group)
    {
        const auto* p = group.FirstChildElement("property");  // the count
        while ((p = p->NextSiblingElement("property")) != nullptr)
            m_mapEvents.emplace(std::atoi(p->Attribute("name")), p->Attribute("value"));
    }

    std::unique_ptr<tinyxml2::XMLDocument> m_document;
    std::map<std::int32_t, std::pair<std::int32_t, std::string>> m_mapProducts;
    std::map<std::int32_t, std::string> m_mapEvents;
};

#endif

// The figures of one file size: times in milliseconds, below 0 for a failure, and bytes.
struct Figures {
    double dLoad = -1;
    double dParse = -1;  // of the yardstick, as is the next
    double dWalk = -1;
    std::size_t nFile = 0;
    std::size_t nPeak = 0;    // during a load, on top of what was there before it
    std::size_t nAfter = 0;   // behind it: the document and the maps' entries
    std::size_t nParsed = 0;  // of the document alone
};

class Measurement {
public:
    explicit Measurement(int nCount)
        : m_nCount(nCount),
          m_strPath(Host::GetExecutableDirectory() + Host::GetPathSeparator() + "config_load-" +
                    std::to_string(nCount) + ".tl2")
    {
        const std::string strText = SettingsText(nCount);
        m_figures.nFile = strText.size();
        std::ofstream(m_strPath, std::ios::binary) << strText;
    }
    ~Measurement() { std::remove(m_strPath.c_str()); }
    Measurement(const Measurement&) = delete;
    Measurement& operator=(const Measurement&) = delete;

    Figures Run()
    {
        if (m_reader.Open(m_strPath)) {
            m_reader.Shutdown();
            MeasureMemory();
            MeasureTimes();
            m_reader.Shutdown();
        }
        return m_figures;
    }

private:
    // Clear would keep the maps' memory for the next load.
    static void MakeMapsAnew()
    {
        std::destroy_at(&BillingIdMap());
        std::construct_at(&BillingIdMap());
        std::destroy_at(&EventCodeMap());
        std::construct_at(&EventCodeMap());
    }

    bool Load()
    {
        MakeMapsAnew();
        return m_reader.Load() && BillingIdMap().GetProductCount() == m_nCount;
    }

    void MeasureMemory()
    {
        MakeMapsAnew();
        g_nBytes = g_nPeak = 0;
        g_bCount = true;
        Load();
        m_figures.nAfter = g_nBytes;
        m_figures.nPeak = g_nPeak;
        m_reader.CloseDocument();
        m_figures.nParsed = m_figures.nAfter - g_nBytes;
        g_bCount = false;
    }

    void MeasureTimes()
    {
        std::vector<double> vecLoad, vecParse, vecWalk;
#ifdef VELKAR_BENCH_TINYXML2
        Yardstick parse, walk;
#endif
        for (int n = 0; n < kRounds; ++n) {
            vecLoad.push_back(TimeOf([&] { return Load(); }));
#ifdef VELKAR_BENCH_TINYXML2
            vecParse.push_back(TimeOf([&] { return parse.Parse(m_strPath.c_str()); }));
            vecWalk.push_back(TimeOf([&] { return walk.ParseAndWalk(m_strPath.c_str(), m_nCount); }));
#endif
        }
        m_figures.dLoad = Median(vecLoad);
        m_figures.dParse = Median(vecParse);
        m_figures.dWalk = Median(vecWalk);
    }

    const int m_nCount;
    const std::string m_strPath;
    CConfigReader m_reader;
    Figures m_figures;
};

}  // namespace

int main()
{
    const Figures small = Measurement(1000).Run();
    const Figures large = Measurement(10000).Run();
    if (small.dLoad < 0 || large.dLoad < 0) {
        std::fprintf(stderr, "A load has failed.\n");
        return 1;
    }
    const auto times = [&](const char* pszWhat, double dSmall, double dLarge) {
        std::printf("%-34s%8.2f ms %8.2f ms\n", pszWhat, dSmall, dLarge);
    };
    std::printf("products, and event codes              1000       10000\n");
    times("load", small.dLoad, large.dLoad);
    if (large.dWalk > 0) {
        times("tinyxml2, parse", small.dParse, large.dParse);
        times("tinyxml2, parse and walk", small.dWalk, large.dWalk);
        std::printf("load to tinyxml2 of 10000: parse %.2f, parse and walk %.2f\n",
                    large.dLoad / large.dParse, large.dLoad / large.dWalk);
    }
    std::printf("growth: %.1f times for 10 times the size\n", large.dLoad / small.dLoad);
    const auto kib = [](std::size_t nBytes) { return static_cast<double>(nBytes) / 1024; };
    std::printf("memory of 10000, KiB: file %.0f, peak of a load %.0f, document %.0f, with the maps %.0f\n",
                kib(large.nFile), kib(large.nPeak), kib(large.nParsed), kib(large.nAfter));
    return 0;
}
