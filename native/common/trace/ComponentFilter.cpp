#include "common/trace/ComponentFilter.h"

#include <cstring>
#include <string>
#include <strings.h>

namespace {
constexpr unsigned silent = 8;
}

void CComponentFilter::SetComponentLevelFilter(const char* text)
{
    std::string copy(text ? text : "");
    char* nextPair = nullptr;
    for (char* pair = strtok_r(copy.data(), ";", &nextPair); pair; pair = strtok_r(nullptr, ";", &nextPair)) {
        char* rest = nullptr;
        char* const component = strtok_r(pair, ",", &rest);
        const char* const level = strtok_r(nullptr, ",", &rest);
        if (component && level && *GxInstallOptions::Trim(component) && strcasecmp(component, "default") != 0)
            table().setProperty(component, level);
    }
}

void CComponentFilter::set(const char* component, unsigned level)
{
    table().setProperty(component, static_cast<int>(level));
}

unsigned CComponentFilter::thresholdOf(const char* component, unsigned globalLevel) const
{
    const char* const level = levelOf(component);
    return level ? parseUnsigned(level) : globalLevel;
}

bool CComponentFilter::VerifyComponentLevel(const char* component, unsigned globalLevel, unsigned level) const
{
    if (!component)
        return false;
    const unsigned threshold = thresholdOf(component, thresholdOf("native", globalLevel));
    return level >= threshold && threshold < silent;
}

GxInstallOptions::Properties& CComponentFilter::table()
{
    if (!m_table)
        m_table = new GxInstallOptions::Properties;
    return *m_table;
}

const char* CComponentFilter::levelOf(const char* component) const
{
    const char* const level = m_table && component ? m_table->GetProperty(component, nullptr, true) : nullptr;
    return level && *level ? level : nullptr;
}
