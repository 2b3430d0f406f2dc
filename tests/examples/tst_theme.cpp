#include "settings/appsettingmodel.h"

#include <QColor>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QTest>
#include <QtQml/qqmlextensionplugin.h>

#include <algorithm>
#include <cmath>
#include <memory>

using namespace Qt::StringLiterals;

Q_IMPORT_QML_PLUGIN(Messenger_ContentPlugin)

namespace
{

/// WCAG 2.1, relative luminance.
double luminance(const QColor &colour)
{
    const auto linear = [](double value) {
        return value <= 0.03928 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF())
        + 0.0722 * linear(colour.blueF());
}

double contrast(const QColor &one, const QColor &other)
{
    const double a = luminance(one) + 0.05;
    const double b = luminance(other) + 0.05;
    return std::max(a, b) / std::min(a, b);
}

QColor over(const QColor &top, const QColor &below)
{
    const auto mixed = [&top](double ofTop, double ofBelow) {
        return float(ofTop * top.alphaF() + ofBelow * (1 - top.alphaF()));
    };
    return QColor::fromRgbF(mixed(top.redF(), below.redF()), mixed(top.greenF(), below.greenF()),
                            mixed(top.blueF(), below.blueF()));
}

} // namespace

class TestTheme : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    /// Whatever text stands on whatever surface can be read (WCAG 2.1, 1.4.3: at least 4.5:1).
    void contrasts()
    {
        QQmlEngine engine;
        engine.addImportPath(u"qrc:/qt/qml"_s);
        engine.addImportPath(QStringLiteral(QML_MODULES));
        QQmlComponent component(&engine);
        component.setData("import QtQml; import Messenger.Content;"
                          "QtObject { readonly property QtObject theme: Theme }",
                          {});
        const std::unique_ptr<QObject> holder(component.create());
        QVERIFY2(holder, qPrintable(component.errorString()));
        const auto *theme = holder->property("theme").value<QObject *>();
        const auto colour = [theme](const char *name) {
            const auto found = theme->property(name).value<QColor>();
            if (!found.isValid())
                qFatal("no colour %s", name);
            return found;
        };

        for (const bool dark : {false, true}) {
            AppSettingModel::instance()->setDarkMode(dark, false);
            const auto check = [&](const char *text, const char *surface, const QColor &behind) {
                const double found = contrast(colour(text), behind);
                const auto message = u"%1 on %2, dark %3: %4"_s.arg(QLatin1StringView(text),
                                                                    QLatin1StringView(surface));
                QVERIFY2(found >= 4.5, qPrintable(message.arg(dark).arg(found)));
            };
            check("accentText", "accent", colour("accent"));
            check("badgeText", "badge", colour("badge"));
            check("scrimText", "scrim", over(colour("scrim"), Qt::white));
            for (const char *text : {"text", "mutedText", "link", "right", "wrong"}) {
                for (const char *surface :
                     {"window", "panel", "bubble", "ownBubble", "notice", "highlight"}) {
                    check(text, surface, colour(surface));
                    check(text, "shade", over(colour("shade"), colour(surface)));
                }
            }
        }
    }
};

QTEST_MAIN(TestTheme)
#include "tst_theme.moc"
