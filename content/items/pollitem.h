#pragma once

#include "content/contentitem.h"

#include <memory>
#include <string>
#include <utility>

class TitledOptions;

namespace im
{
class PollInfo;
class PollResult;
} // namespace im

/// One option of a poll with its votes, for a view.
struct MODELBASE_EXPORT PollOption {
    Q_GADGET
    QML_VALUE_TYPE(pollOption)
    Q_PROPERTY(QString text READ text)
    Q_PROPERTY(ContentItem *content READ contentItem)
    Q_PROPERTY(int count MEMBER count)
    Q_PROPERTY(int percent MEMBER percent)
    Q_PROPERTY(bool voted MEMBER voted)
    Q_PROPERTY(bool right MEMBER right)

public:
    /// What it says; empty for one that is no text and has no caption.
    QString text() const { return contentItem() ? contentItem()->content() : QString(); }
    ContentItem *contentItem() const { return content.toStrongRef().data(); }

    /// The poll's own, and gone with it: what QML keeps of this value keeps no content. Null for a
    /// kind of content that this version cannot show.
    QWeakPointer<ContentItem> content;
    int count = 0;      ///< votes
    int percent = 0;    ///< share of all votes; see PollItem::options()
    bool voted = false; ///< chosen by this account's user
    bool right = false; ///< a quiz's right answer, as far as it is known

    bool operator==(const PollOption &) const = default;
};

/// A poll or quiz: a question and options, which are contents of any kind, mostly texts; its
/// settings and results, which travel beside the body in im.Message.poll_info and in notices.
///
/// Options are numbered from 0. What comes from outside is checked: options that do not exist,
/// repeated or negative numbers are left out with a log line.
///
/// Stored keys: "optionCount", "anonymous", "multiple", "quizMode", "comment" (in plain text),
/// "expectedAnswers", "aesKey" (Base64); then "title" (an item map), "options" (item maps), and
/// "pollInfo" (Base64 of what else im.PollInfo has, the results included).
class MODELBASE_EXPORT PollItem : public ContentItem
{
    Q_OBJECT
    MODELBASE_QML_TYPE
    /// The question's text.
    Q_PROPERTY(QString title READ title NOTIFY titleChanged)
    Q_PROPERTY(ContentItem *titleItem READ titleItemPointer NOTIFY titleChanged)
    /// The options in their order: a list of PollOption.
    Q_PROPERTY(QVariantList options READ optionVariants NOTIFY optionsChanged)
    Q_PROPERTY(int optionCount READ optionCount NOTIFY optionCountChanged)
    Q_PROPERTY(QString pollId READ pollId NOTIFY pollIdChanged)
    Q_PROPERTY(qint32 ownerUid READ ownerUid NOTIFY ownerUidChanged)
    Q_PROPERTY(bool anonymous READ anonymous WRITE setAnonymous NOTIFY anonymousChanged)
    Q_PROPERTY(bool multiple READ multiple WRITE setMultiple NOTIFY multipleChanged)
    Q_PROPERTY(bool isPublic READ isPublic WRITE setIsPublic NOTIFY isPublicChanged)
    Q_PROPERTY(bool quizMode READ quizMode WRITE setQuizMode NOTIFY quizModeChanged)
    Q_PROPERTY(QString comment READ comment WRITE setComment NOTIFY commentChanged)
    Q_PROPERTY(QList<int> expectedAnswers READ expectedAnswers WRITE setExpectedAnswers NOTIFY
                   expectedAnswersChanged)
    Q_PROPERTY(bool ended READ ended NOTIFY endedChanged)
    Q_PROPERTY(bool deleted READ deleted NOTIFY deletedChanged)
    Q_PROPERTY(int votersTotal READ votersTotal NOTIFY votersTotalChanged)
    Q_PROPERTY(QList<int> votedOptions READ votedOptions NOTIFY votedOptionsChanged)
    Q_PROPERTY(QList<int> latestVoters READ latestVoters NOTIFY latestVotersChanged)
    Q_PROPERTY(Answer answer READ answer NOTIFY answerChanged)

public:
    /// What became of this user's answer to a quiz. No poll but a quiz has right answers, and those
    /// of a quiz are known to who has answered it.
    enum Answer { NoAnswer, UnknownAnswer, RightAnswer, WrongAnswer };
    Q_ENUM(Answer)

    PollItem(const QMap<QString, QVariant> &map, int source, AccountBase *account);
    PollItem(const im::content::Content &content, int source, AccountBase *account);
    /// An empty poll, to be filled in for sending.
    PollItem(int source, AccountBase *account);
    explicit PollItem(const PollItem *other);
    ~PollItem() override;

    QString title() const;
    /// The question; null when there is none.
    QSharedPointer<ContentItem> titleItem() const;
    /// `percent` is the option's share of all votes (in a poll with several answers a person has
    /// several), rounded by the largest remainder method: the percentages add up to 100 exactly, or
    /// are all 0 while nobody has voted. Of equal remainders the earlier option is rounded up.
    QList<PollOption> options() const;
    /// How many options there are; without any, how many the poll's settings speak of.
    int optionCount() const;
    /// The key that the comment is encrypted with; 32 bytes, empty when there is none.
    const QByteArray &aesKey() const { return m_key; }

    // Settings, as im.PollInfo has them. The setters are for a poll that is written to be sent.
    QString pollId() const;
    /// The user who started it.
    qint32 ownerUid() const;
    bool anonymous() const;
    /// Whether one may choose several options.
    bool multiple() const;
    bool isPublic() const;
    bool quizMode() const;
    /// The explanation of a quiz's answer.
    const QString &comment() const { return m_comment; }
    /// The right answers of a quiz.
    QList<int> expectedAnswers() const;
    void setTitleItem(const QSharedPointer<ContentItem> &title);
    /// To be set before what speaks of options: right answers and results that the poll does not
    /// offer are left out, with a log line.
    void setOptionItems(const QList<QSharedPointer<ContentItem>> &options);
    void setAnonymous(bool anonymous);
    void setMultiple(bool multiple);
    void setIsPublic(bool isPublic);
    void setQuizMode(bool quizMode);
    void setComment(const QString &comment);
    void setExpectedAnswers(const QList<int> &answers);
    /// Also decrypts a comment that has come before its key.
    void setAesKey(const QByteArray &key);

    // Results
    bool ended() const;
    bool deleted() const;
    /// How many people have voted.
    int votersTotal() const;
    /// This user's votes.
    QList<int> votedOptions() const;
    /// User ids of those who voted last.
    QList<int> latestVoters() const;
    Answer answer() const;
    /// User ids of those who voted for an option, as far as they are known.
    Q_INVOKABLE QList<int> voters(int option) const;
    /// True when more people than voters() has voted for an option.
    Q_INVOKABLE bool hasMoreVoters(int option) const;
    /// When the results held were made, as the server tells it; 0 without results.
    qint64 lastUpdated() const;

    /// Takes over settings and results. Results older than those held are left out. False, and no
    /// change, when it is the record of another poll.
    bool setPollInfo(const im::PollInfo &info);
    /// Takes over results. What a notice to everybody leaves out stays: this user's votes, the
    /// right answers and the comment. False, and no change, for results that are older than those
    /// held, or of another poll.
    bool updateResult(const im::PollResult &result);
    /// Writes settings and results, with the comment encrypted.
    void pollInfo(im::PollInfo *info) const;

    /// The comment for sending; empty without a comment, and with a log line without a key.
    QByteArray encryptComment() const;
    /// Takes the decrypted comment, while there is none.
    void decryptComment(const QByteArray &cipher);

    void serialize(QMap<QString, QVariant> &map) const override;
    void serialize(im::content::Content *content) const override;
    void deserialize(const QMap<QString, QVariant> &map) override;
    void setContent(const im::content::Content &content) override;
    using ContentItem::setContent;

    /// Question and options.
    QList<QSharedPointer<ContentItem>> innerItems() const override;

    /// The question, a line about the kind of poll, a row each option (its text beside the column
    /// of percentages, a bar below), and a line for votes or button.
    QSize calcContentSize(int &lineCount, int maxWidth, int maxRowCount, bool inThread) override;

Q_SIGNALS:
    void titleChanged();
    void optionsChanged();
    void optionCountChanged();
    void pollIdChanged();
    void ownerUidChanged();
    void anonymousChanged();
    void multipleChanged();
    void isPublicChanged();
    void quizModeChanged();
    void commentChanged();
    void expectedAnswersChanged();
    void endedChanged();
    void deletedChanged();
    void votersTotalChanged();
    void votedOptionsChanged();
    void latestVotersChanged();
    void answerChanged();

private:
    ContentItem *titleItemPointer() const { return titleItem().data(); }
    QVariantList optionVariants() const;
    /// How many options the lists of the protocol may speak of.
    int optionLimit() const;
    /// False, and no change, for the map of another poll.
    bool read(const QMap<QString, QVariant> &map);
    void read(const im::content::Content &content);
    bool adopt(const im::PollInfo &info);
    bool adopt(const im::PollResult &result);
    bool isOther(const std::string &pollId) const;
    QString decrypted(const std::string &cipher) const;
    void adoptComment();
    /// Leaves right answers that the poll offers.
    void cleanAnswers();

    std::unique_ptr<TitledOptions> m_options;
    /// Settings and results, checked; the comment as it came.
    std::unique_ptr<im::PollInfo> m_info;
    QString m_comment;
    QByteArray m_key;
    std::pair<QByteArray, std::string> m_undecrypted; ///< a key, and the comment it does not open
};
