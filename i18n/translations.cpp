#include "i18n/translations.h"

#include <QCoreApplication>
#include <QLocale>
#include <QLoggingCategory>
#include <QTranslator>

namespace
{

Q_LOGGING_CATEGORY(lcTranslations, "im.modelbase")

/// Installed; null if the catalogue has no file for the language or a fallback of it.
std::unique_ptr<QTranslator> installed(const QString &path, const QLocale &locale)
{
    auto translator = std::make_unique<QTranslator>();
    if (!translator->load(locale, path, QStringLiteral("_"))
        || !QCoreApplication::installTranslator(translator.get())) {
        return nullptr;
    }
    return translator;
}

} // namespace

Translations::Translations()
{
    add(QStringLiteral(":/i18n/modelbase"));
}

Translations::~Translations() = default;

void Translations::add(const QString &path)
{
    m_catalogues.push_back({path, nullptr, nullptr});
    if (!m_language.isNull())
        load(m_catalogues.back());
}

void Translations::setLanguage(const QString &language)
{
    if (language == m_language || !QCoreApplication::instance())
        return;
    m_language = language;
    for (Catalogue &catalogue : m_catalogues)
        load(catalogue);
}

void Translations::load(Catalogue &catalogue)
{
    if (!catalogue.english) {
        catalogue.english = installed(catalogue.path, QLocale(QLocale::English));
        if (!catalogue.english)
            qCWarning(lcTranslations, "Cannot load the English texts %ls.",
                      qUtf16Printable(catalogue.path));
    }
    // Install the new texts before removing the old ones, so that no ids are shown meanwhile.
    catalogue.inLanguage = installed(catalogue.path, QLocale(m_language));
}
