#pragma once

#include "modelbase_export.h"

#include <QString>
#include <QtGlobal>

#include <memory>
#include <vector>

class QTranslator;

/// The texts by id (qtTrId, qsTrId) that stand in the program: the library's own, in English, Arabic
/// and Chinese, and catalogues of the application. It holds one translator installed for each
/// catalogue in the language, and below that one in English, which gives what the other lacks.
///
/// AppSettingModel owns it and sets the language: in loadGlobalData(), before the application's
/// "switchLanguage" is called, and before each languageChanged. Translators that the application
/// installs in answer to these come first; so it can bring the library's texts in a further language,
/// or word them its own way. An application with QML calls QQmlEngine::retranslate() on
/// languageChanged.
///
/// Thread: the main thread. Without an application object nothing is loaded.
class MODELBASE_EXPORT Translations
{
public:
    Translations();
    /// Removes what is installed.
    ~Translations();
    Q_DISABLE_COPY_MOVE(Translations)

    /// Adds a catalogue: the files `path`_<language>.qm, as ":/i18n/client" stands for
    /// ":/i18n/client_en.qm" and others. There must be an English one.
    void add(const QString &path);
    /// Loads the texts of a language, given as a locale name. Where a region has none of its own
    /// ("ar_EG"), those of the plain language are taken ("ar"), and of a language that has none, the
    /// English ones.
    void setLanguage(const QString &language);

private:
    struct Catalogue {
        QString path;
        std::unique_ptr<QTranslator> english;
        std::unique_ptr<QTranslator> inLanguage; ///< null where there is none
    };
    void load(Catalogue &catalogue);

    std::vector<Catalogue> m_catalogues;
    QString m_language; ///< null: not set
};
