#include "client/application.h"

#include <QColor>
#include <QFont>
#include <QFontInfo>
#include <QLocale>
#include <QLoggingCategory>
#include <QStringList>

namespace
{

QtMessageHandler printMessage = nullptr;

/// Filters Qt's messages about scripts that a font lacks; Qt then takes the next font.
void print(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    if (!text.startsWith(QStringLiteral("  OpenType support missing")))
        printMessage(type, context, text);
}

} // namespace

Application::Application(int &argc, char **argv) : QGuiApplication(argc, argv)
{
    // They are part of the path of the application data directory.
    setOrganizationName(QStringLiteral("modelbase"));
    setApplicationName(QStringLiteral("modelbase-client"));

    // Otherwise Qt takes some emoji from fonts with black and white ones.
    QFont shown = font();
    shown.setFamilies({QFontInfo(shown).family(), QStringLiteral("Noto Color Emoji")});
    setFont(shown);
    printMessage = qInstallMessageHandler(print);

    // The log has the library's steps; the terminal shows its warnings.
    QLoggingCategory::setFilterRules(QStringLiteral("im.*.debug=false"));

    setProperty(
        "availableLanguages",
        QStringList{QStringLiteral("en_US"), QStringLiteral("ar_EG"), QStringLiteral("zh_CN")});
    setProperty("productColor", QColor(0x2e, 0x7d, 0x6b));
}

void Application::switchLanguage(const QString &language)
{
    // The library has already loaded its own texts, and those added to
    // AppSettingModel::translations().
    QLocale::setDefault(QLocale(language));
    setLayoutDirection(QLocale(language).textDirection());
}
