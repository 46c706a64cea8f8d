#pragma once
#include <QString>
#include <array>
#include <cstdint>

// Bounded stack of 20 strings: the carrier of lists of languages and files.
// Pushing a twenty-first string throws std::out_of_range.
class cStack {
public:
    static constexpr int kLimit = 20;

    int Count() const { return m_count; }
    QString test() const;
    QString Pop();
    void Push(const QString& s);
    void Copy(cStack& target) const;
    void Clear();
    QString GetString(const QString& separator) const;

private:
    std::array<QString, kLimit> m_items;
    uint8_t m_count = 0;
};
