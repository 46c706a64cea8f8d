#include "cstack.h"

#include <stdexcept>

QString cStack::test() const
{
    return m_count == 0 ? QString() : m_items[m_count - 1];
}

QString cStack::Pop()
{
    if (m_count == 0)
        return QString();
    --m_count;
    QString s = std::move(m_items[m_count]);
    m_items[m_count].clear();
    return s;
}

void cStack::Push(const QString& s)
{
    if (m_count >= kLimit)
        throw std::out_of_range("cStack: more than 20 entries");
    m_items[m_count++] = s;
}

void cStack::Copy(cStack& target) const
{
    for (int i = 0; i < m_count; ++i)
        target.Push(m_items[i]);
}

void cStack::Clear()
{
    for (int i = 0; i < m_count; ++i)
        m_items[i].clear();
    m_count = 0;
}

QString cStack::GetString(const QString& separator) const
{
    QString out;
    for (int i = 0; i < m_count; ++i) {
        if (i)
            out += separator;
        out += m_items[i];
    }
    return out;
}
