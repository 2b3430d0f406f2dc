#include "client/application.h"

#include <QColor>
#include <QLocale>
#include <QLoggingCategory>
#include <QStringList>

Application::Application(int &argc, char **argv) : QGuiApplication(argc, argv)
{
    // They name the application data directory.
    setOrganizationName(QStringLiteral("modelbase"));
    setApplicationName(QStringLiteral("modelbase-client"));

    // The library's steps are in the log; the terminal shows its warnings.
    QLoggingCategory::setFilterRules(QStringLiteral("im.*.debug=false"));

    setProperty("availableLanguages", QStringList{QStringLiteral("en_US")});
    setProperty("productColor", QColor(0x2e, 0x7d, 0x6b));
}

void Application::switchLanguage(const QString &language)
{
    // A program with translations would load those of `language` here.
    QLocale::setDefault(QLocale(language));
    setLayoutDirection(QLocale(language).textDirection());
}
