#pragma once

#include "content/fields_p.h"
#include "content/items/innercontent_p.h"
#include "content/items/withoptionsitem.h"

template <>
struct Fields<WithOptionsItem> {
    using Base = ContentItem;

    static constexpr std::tuple table{
        derived<&WithOptionsItem::titleItem, &WithOptionsItem::titleChanged>,
        derived<&WithOptionsItem::options, &WithOptionsItem::optionsChanged>,
        sizedBy<&WithOptionsItem::innerItems>,
    };
};
