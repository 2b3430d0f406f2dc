#include "client/moveprogress.h"

#include "base/util.h"
#include "settings/appdatamove.h"

#include <QEventLoop>

#include <filesystem>

namespace
{

/// False if there is no such file: then lines are printed.
bool isTerminal()
{
    std::error_code error;
    return std::filesystem::is_character_file("/dev/stdout", error);
}

QString progress(const AppDataMove *move)
{
    return QStringLiteral("%1 %  %2 of %3")
        .arg(move->percent(), 3)
        .arg(Util::intToSizeStr(move->movedBytes()), Util::intToSizeStr(move->totalBytes()));
}

void showBar(const AppDataMove *move, QTextStream &out)
{
    constexpr int width = 40;
    const int done = move->percent() * width / 100;
    out << "\r  [" << QString(done, u'#') << QString(width - done, u'-') << "] " << progress(move)
        << "   ";
    out.flush();
}

} // namespace

bool showMove(AppDataMove *move, QTextStream &out)
{
    const bool bar = isTerminal();
    int quarters = 0; // shown so far
    bool ok = false;
    QEventLoop loop;
    QObject::connect(move, &AppDataMove::percentChanged, &loop, [&] {
        if (bar) {
            showBar(move, out);
        } else if (const int quarter = move->percent() / 25; quarter != quarters) {
            quarters = quarter;
            out << "  " << progress(move) << '\n';
            out.flush();
        }
    });
    QObject::connect(move, &AppDataMove::finished, &loop, [&](bool complete) {
        ok = complete;
        loop.quit();
    });
    loop.exec();
    if (bar)
        out << '\n';
    return ok;
}
