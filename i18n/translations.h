#pragma once

#include "modelbase_export.h"

#include <QString>
#include <QtGlobal>

#include <memory>
#include <vector>

class QTranslator;

/// The program's texts by id (qtTrId, qsTrId): the library's own, in English, Arabic and Chinese,
/// and catalogues of the application. It installs one translator for each catalogue in the
/// language, and below it an English one, for texts that the first lacks.
///
/// AppSettingModel owns it and sets the language: in loadGlobalData(), before the application's
/// "switchLanguage" is called, and before each languageChanged. Translators that the application
/// installs in response take precedence; so it can provide the library's texts in a further
/// language, or reword them. An application with QML calls QQmlEngine::retranslate() on
/// languageChanged.
///
/// Thread: the main thread. Without an application object nothing is loaded.
class MODELBASE_EXPORT Translations
{
public:
    Translations();
    /// Removes the installed translators.
    ~Translations();
    Q_DISABLE_COPY_MOVE(Translations)

    /// Adds a catalogue: the files `path`_<language>.qm, for example ":/i18n/client" for
    /// ":/i18n/client_en.qm" and others. There must be an English one.
    void add(const QString &path);
    /// Loads the texts of a language, given as a locale name. If there are none for a region
    /// ("ar_EG"), those of the plain language are used ("ar"); if there are none for the language,
    /// the English ones.
    void setLanguage(const QString &language);

private:
    struct Catalogue {
        QString path;
        std::unique_ptr<QTranslator> english;
        std::unique_ptr<QTranslator> inLanguage; ///< null if there is none
    };
    void load(Catalogue &catalogue);

    std::vector<Catalogue> m_catalogues;
    QString m_language; ///< null: not set
};
