#include "document/DocumentFailureCollector.h"

namespace
{
thread_local DocumentFailureCollector* innermost = nullptr;
} // namespace

DocumentFailureCollector::DocumentFailureCollector() : m_outer(innermost)
{
    innermost = this;
}

DocumentFailureCollector::~DocumentFailureCollector()
{
    innermost = m_outer;
}

DocumentFailureCollector* DocumentFailureCollector::current()
{
    return innermost;
}
