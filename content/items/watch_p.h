#pragma once

#include <array>
#include <functional>
#include <tuple>
#include <type_traits>
#include <utility>

/// A property of an item as an update watches it: its getter and its change signal.
template <typename Get, typename Signal>
struct Watched {
    Get get;
    Signal changed;
};
template <typename Get, typename Signal>
Watched(Get, Signal) -> Watched<Get, Signal>;

/// Reads an item's properties, and again at the end of its scope, where it fires the signals of
/// those that differ. For properties that follow from several held values: percentages from counts.
/// All values are in place by then; a handler never sees half an update.
template <typename Item, typename... Properties>
class Watch
{
public:
    Watch(Item *item, Properties... properties)
        : m_item(item), m_properties(properties...),
          m_before(std::invoke(properties.get, std::as_const(*item))...)
    {
    }
    ~Watch() { fire(std::index_sequence_for<Properties...>()); }
    Watch(const Watch &) = delete;
    Watch &operator=(const Watch &) = delete;

private:
    template <std::size_t... I>
    void fire(std::index_sequence<I...>)
    {
        const std::array hasChanged{
            std::get<I>(m_before)
            != std::invoke(std::get<I>(m_properties).get, std::as_const(*m_item))...};
        ((hasChanged[I] ? std::invoke(std::get<I>(m_properties).changed, *m_item) : void()), ...);
    }

    Item *m_item;
    std::tuple<Properties...> m_properties;
    std::tuple<std::decay_t<
        std::invoke_result_t<decltype(std::declval<Properties>().get), const Item &>>...>
        m_before;
};
