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

/// Qt tells of every script that a font does not have, and takes the next font for it.
void print(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    if (!text.startsWith(QStringLiteral("  OpenType support missing")))
        printMessage(type, context, text);
}

} // namespace

Application::Application(int &argc, char **argv) : QGuiApplication(argc, argv)
{
    // They name the application data directory.
    setOrganizationName(QStringLiteral("modelbase"));
    setApplicationName(QStringLiteral("modelbase-client"));

    // Otherwise Qt takes some emoji from fonts that have them black and white.
    QFont shown = font();
    shown.setFamilies({QFontInfo(shown).family(), QStringLiteral("Noto Color Emoji")});
    setFont(shown);
    printMessage = qInstallMessageHandler(print);

    // The library's steps are in the log; the terminal shows its warnings.
    QLoggingCategory::setFilterRules(QStringLiteral("im.*.debug=false"));

    setProperty(
        "availableLanguages",
        QStringList{QStringLiteral("en_US"), QStringLiteral("ar_EG"), QStringLiteral("zh_CN")});
    setProperty("productColor", QColor(0x2e, 0x7d, 0x6b));
}

void Application::switchLanguage(const QString &language)
{
    // The library has loaded its texts already, and those that AppSettingModel::translations() was
    // given.
    QLocale::setDefault(QLocale(language));
    setLayoutDirection(QLocale(language).textDirection());
}
