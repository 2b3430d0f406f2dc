#pragma once

#include <QGuiApplication>

/// The application object. The settings expect three things of it: the program's languages, the
/// product's colour, and a method that switches the language.
class Application : public QGuiApplication
{
    Q_OBJECT

public:
    Application(int &argc, char **argv);

    /// Called by the settings when they are loaded and when they are reset.
    Q_INVOKABLE void switchLanguage(const QString &language);
};
