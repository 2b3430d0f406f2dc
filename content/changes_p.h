#pragma once

#include <QVarLengthArray>

#include <type_traits>
#include <utility>

/// Takes over new values and fires the signals of those that differ at the end of its scope, when
/// all of them are in place: a handler never sees half an update.
template <typename Item>
class Changes
{
public:
    using Signal = void (Item::*)();

    explicit Changes(Item *item) : m_item(item) { }
    ~Changes()
    {
        if (m_item->signalsBlocked()) // as while an item is made: nobody can listen yet
            return;
        for (Signal signal : m_signals)
            (m_item->*signal)();
    }
    Q_DISABLE_COPY_MOVE(Changes)

    template <typename Value>
    bool set(Value &field, std::type_identity_t<Value> value, Signal changed)
    {
        if (field == value)
            return false;
        field = std::move(value);
        m_signals.append(changed);
        return true;
    }

    /// For what was set otherwise, or follows from other values.
    void add(Signal changed) { m_signals.append(changed); }

private:
    Item *m_item;
    QVarLengthArray<Signal, 8> m_signals;
};
