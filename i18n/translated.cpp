#include "i18n/translated_p.h"

#include <QCoreApplication>
#include <QTranslator>

namespace
{

QString inEnglish(const char *id, int count)
{
    // Never installed, so that all installed translators take precedence.
    static const QTranslator *english = [] {
        auto *translator = new QTranslator;
        if (!translator->load(QStringLiteral(":/i18n/modelbase_en")))
            qFatal("The library was built without its texts.");
        return translator;
    }();
    return english->translate(nullptr, id, nullptr, count)
        .replace(QLatin1StringView("%n"), QString::number(count));
}

} // namespace

QString translated(const char *id, int count)
{
    const QString text = qtTrId(id, count);
    return text == QLatin1StringView(id) ? inEnglish(id, count) : text;
}
