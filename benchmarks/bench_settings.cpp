#include "account/threadmanager.h"
#include "settings/appsettingmodel.h"
#include "storage/globalstorageprovider.h"
#include "support/comparison.h"
#include "support/settingsbyhand.h"

#include <QFile>
#include <QStandardPaths>

namespace
{

using benchmark::State;
using namespace settingsbyhand;

/// The model on an empty store, with its save thread.
class Model
{
public:
    Model()
    {
        // In a separate directory: the store of an installed program stays unchanged.
        QStandardPaths::setTestModeEnabled(true);
        AppSettingModel *model = AppSettingModel::instance();
        for (const char *suffix : {"", "-wal", "-shm"})
            QFile::remove(model->globalStorage()->filePath() + QLatin1StringView(suffix));
        ThreadManager::getInstance()->init();
        model->loadGlobalData();
    }
    ~Model()
    {
        AppSettingModel::releaseInstance();
        ThreadManager::getInstance()->quitAll();
    }
    Q_DISABLE_COPY_MOVE(Model)

    AppSettingModel *operator->() const { return m_model; }

private:
    AppSettingModel *const m_model = AppSettingModel::instance();
};

void addGetters()
{
    const QString path = QStringLiteral("/home/user/Downloads");
    comparison::add(
        "a settings getter, bool", 0.35,
        [](State &state) {
            const Model model;
            fill([&](const QString &key, int value) { model->setValue(key, value, false); });
            model->setDarkMode(true, false);
            for (auto _ : state)
                benchmark::DoNotOptimize(model->darkMode());
        },
        getter(QStringLiteral("dark_mode"), true));
    comparison::add(
        "a settings getter, text", 0.35,
        [path](State &state) {
            const Model model;
            fill([&](const QString &key, int value) { model->setValue(key, value, false); });
            model->setSaveasPath(path, false);
            for (auto _ : state)
                benchmark::DoNotOptimize(model->saveasPath());
        },
        getter(QStringLiteral("saveas_path"), path));
}

void addSetter()
{
    comparison::add(
        "a settings setter, as the caller feels it", 1.0,
        [](State &state) {
            const Model model;
            fill([&](const QString &key, int value) { model->setValue(key, value, true); });
            int width = 0;
            for (auto _ : state)
                model->setSessionListWidth(++width);
        },
        setter(QStringLiteral("session_list_width")));
}

void addDurability()
{
    comparison::add(
        "settings made durable through the model, 10,000 changes", 0.2,
        [](State &state) {
            const Model model;
            changeAll(state, model.operator->());
        },
        upsertAll);
}

void addRows()
{
    addGetters();
    addSetter();
    addDurability();
}

} // namespace

COMPARISON_MAIN(addRows)
