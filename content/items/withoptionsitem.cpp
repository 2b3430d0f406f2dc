#include "content/items/withoptionsitem.h"

#include "content/items/withoptionsitem_p.h"

WithOptionsItem::WithOptionsItem(int source, AccountBase *account)
    : ContentItem(source, account), m_options(std::make_unique<TitledOptions>(source, account))
{
}

WithOptionsItem::WithOptionsItem(const QMap<QString, QVariant> &map, int source,
                                 AccountBase *account)
    : ContentItem(map, source, account), m_options(std::make_unique<TitledOptions>(source, account))
{
    m_options->read(map);
}

WithOptionsItem::WithOptionsItem(const im::content::Content &content, int source,
                                 AccountBase *account)
    : ContentItem(content, source, account),
      m_options(std::make_unique<TitledOptions>(source, account))
{
}

WithOptionsItem::WithOptionsItem(const WithOptionsItem *other)
    : ContentItem(other), m_options(std::make_unique<TitledOptions>(other->m_options->copy()))
{
}

WithOptionsItem::~WithOptionsItem() = default;

QString WithOptionsItem::title() const
{
    return m_options->title.text();
}

QSharedPointer<ContentItem> WithOptionsItem::titleItem() const
{
    return m_options->title.item();
}

QList<ContentOption> WithOptionsItem::options() const
{
    QList<ContentOption> list;
    list.reserve(m_options->options.size());
    for (const InnerContent &option : m_options->options)
        list.append({option.item()});
    return list;
}

QVariantList WithOptionsItem::optionVariants() const
{
    return Inner::toVariants(options());
}

void WithOptionsItem::setTitleItem(const QSharedPointer<ContentItem> &title)
{
    const Changes changes(this);
    m_options->title.set(title);
}

void WithOptionsItem::setOptionItems(const QList<QSharedPointer<ContentItem>> &options)
{
    const Changes changes(this);
    m_options->setOptions(options);
}

void WithOptionsItem::serialize(QMap<QString, QVariant> &map) const
{
    ContentItem::serialize(map);
    m_options->write(map);
}

void WithOptionsItem::deserialize(const QMap<QString, QVariant> &map)
{
    const Changes changes(this);
    m_options->read(map);
    ContentItem::deserialize(map);
}

QList<QSharedPointer<ContentItem>> WithOptionsItem::innerItems() const
{
    return m_options->items();
}
