#include "vxdependency/scanner/RescanPlan.h"

#include <algorithm>

void RescanPlan::End(std::int64_t now) {
    // As long again as the last delay without a need for one, and all is calm.
    const bool calm = m_delay == 0 || now > m_notBefore + m_delay;
    m_delay = calm ? kFirstDelay : std::min(2 * m_delay, kLongestDelay);
    m_notBefore = now + m_delay;
}
