#pragma once

#include "content/contentitem.h"

#include <memory>

class TitledOptions;

/// One option of an item with options, for a view.
struct MODELBASE_EXPORT ContentOption {
    Q_GADGET
    QML_VALUE_TYPE(contentOption)
    Q_PROPERTY(QString text READ text)
    Q_PROPERTY(ContentItem *content READ contentItem)

public:
    /// What it says; empty for one that is no text and has no caption.
    QString text() const { return contentItem() ? contentItem()->content() : QString(); }
    ContentItem *contentItem() const { return content.toStrongRef().data(); }

    /// The item's own, and gone with it: what QML keeps of this value keeps no content. Null for a
    /// kind of content that this version cannot show.
    QWeakPointer<ContentItem> content;

    bool operator==(const ContentOption &) const = default;
};

/// What kinds with a title and options below it have in common. Title and options are contents of
/// any kind, mostly texts; they belong to the item, and change only through it.
///
/// Stored keys: "title" (an item map), "options" (a list of item maps).
class MODELBASE_EXPORT WithOptionsItem : public ContentItem
{
    Q_OBJECT
    MODELBASE_QML_TYPE
    Q_PROPERTY(QString title READ title NOTIFY titleChanged)
    Q_PROPERTY(ContentItem *titleItem READ titleItemPointer NOTIFY titleChanged)
    /// The options in their order: a list of ContentOption.
    Q_PROPERTY(QVariantList options READ optionVariants NOTIFY optionsChanged)

public:
    ~WithOptionsItem() override;

    /// The title's text.
    QString title() const;
    /// Null without a title.
    QSharedPointer<ContentItem> titleItem() const;
    QList<ContentOption> options() const;
    /// For sending: take what a person wrote. Null is no title, or an option without content.
    void setTitleItem(const QSharedPointer<ContentItem> &title);
    virtual void setOptionItems(const QList<QSharedPointer<ContentItem>> &options);

    using ContentItem::serialize;
    void serialize(QMap<QString, QVariant> &map) const override;
    void deserialize(const QMap<QString, QVariant> &map) override;

    /// Title and options.
    QList<QSharedPointer<ContentItem>> innerItems() const override;

Q_SIGNALS:
    void titleChanged();
    void optionsChanged();

protected:
    WithOptionsItem(const QMap<QString, QVariant> &map, int source, AccountBase *account);
    WithOptionsItem(const im::content::Content &content, int source, AccountBase *account);
    WithOptionsItem(int source, AccountBase *account);
    explicit WithOptionsItem(const WithOptionsItem *other);

    const TitledOptions &titledOptions() const { return *m_options; }
    TitledOptions &titledOptions() { return *m_options; }

private:
    ContentItem *titleItemPointer() const { return titleItem().data(); }
    QVariantList optionVariants() const;

    std::unique_ptr<TitledOptions> m_options;
};
