// tallymo-widget: the current period for a status bar. Takes its own sample (unless another
// process is sampling), computes the record from the store, prints it; with --follow, once more
// after every reload and at least every 15 minutes.
#include "core/localtime.h"
#include "core/privatefiles.h"
#include "core/settingskeys.h"
#include "core/sharedcode.h"
#include "desktop/widgetoutput.h"
#include "desktop/widgetstats.h"
#include "platform/linux/linuxnetworkinterfaces.h"
#include "platform/linux/paths.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QFileSystemWatcher>
#include <QTimer>

#include <cstdio>
#include <functional>
#include <optional>
#include <sys/stat.h>

namespace {

constexpr int kRefreshMs = 15 * 60 * 1000;

const char kUsage[] = "usage: tallymo-widget [--format json|waybar|i3blocks|text] [--follow]\n";

// Which version of the record file is there: each reload makes a new file (new inode).
std::pair<ino_t, qint64> fileVersion(const QString &path)
{
    struct stat st;
    if (::stat(QFile::encodeName(path).constData(), &st) != 0)
        return {0, 0};
    return {st.st_ino, qint64(st.st_mtim.tv_sec) * 1000000000 + st.st_mtim.tv_nsec};
}

QVariantMap currentRecord(SharedCode &shared)
{
    return WidgetRecord::current(shared);
}

// What the arguments ask for.
struct WidgetOptions
{
    WidgetOutput::Format format = WidgetOutput::Format::Text;
    bool follow = false;
};

// Reads the arguments into `options`; the exit status when the program ends here (help, or an
// argument it does not know).
std::optional<int> readArguments(const QStringList &args, WidgetOptions &options)
{
    for (qsizetype i = 0; i < args.size(); ++i) {
        const QString &a = args.at(i);
        if (a == QLatin1StringView("--follow")) {
            options.follow = true;
        } else if (a == QLatin1StringView("--format") || a.startsWith(QLatin1StringView("--format="))) {
            const QString name = a.contains(QLatin1Char('='))
                                     ? a.section(QLatin1Char('='), 1)
                                     : (i + 1 < args.size() ? args.at(++i) : QString());
            const std::optional<WidgetOutput::Format> f = WidgetOutput::formatNamed(name);
            if (!f) {
                std::fprintf(stderr, "tallymo-widget: unknown format \"%s\"\n%s", qPrintable(name), kUsage);
                return 2;
            }
            options.format = *f;
        } else if (a == QLatin1StringView("--help") || a == QLatin1StringView("-h")) {
            std::fputs(kUsage, stdout);
            return 0;
        } else {
            std::fprintf(stderr, "tallymo-widget: unknown argument \"%s\"\n%s", qPrintable(a), kUsage);
            return 2;
        }
    }
    return std::nullopt;
}

// The current record, as one line in the format, on stdout at once.
void printRecord(SharedCode &shared, WidgetOutput::Format format)
{
    const QVariantMap record = currentRecord(shared);
    const QByteArray line =
        WidgetOutput::render(record, format, int(shared.userPref().integerForKey(Keys::PREF_THEME_WIDGET)),
                             WidgetStats::widgetAppearance(shared));
    std::fwrite(line.constData(), 1, size_t(line.size()), stdout);
    std::fflush(stdout);
}

// Prints the record again after every reload and at least every 15 minutes, until the event loop
// ends; its exit status.
int followReloads(const std::function<void()> &emitRecord)
{
    // A reload replaces the record file whole: watch the directory (the file is a new one each time).
    const QString file = WidgetRecord::recordFilePath();
    const QString dir = QFileInfo(file).path();
    PrivateFiles::makePrivateFolder(dir);
    QFileSystemWatcher watcher({dir});
    QTimer settle; // one line for the burst of changes a replace makes
    settle.setSingleShot(true);
    settle.setInterval(50);
    QTimer periodic;
    periodic.start(kRefreshMs);
    std::pair<ino_t, qint64> seen = fileVersion(file);
    QCoreApplication *app = QCoreApplication::instance();
    QObject::connect(&watcher, &QFileSystemWatcher::directoryChanged, &settle, [&] { settle.start(); });
    QObject::connect(&settle, &QTimer::timeout, app, [&] {
        const std::pair<ino_t, qint64> version = fileVersion(file);
        if (version.first == 0 || version == seen)
            return;
        seen = version;
        periodic.start(kRefreshMs);
        emitRecord();
    });
    QObject::connect(&periodic, &QTimer::timeout, app, emitRecord);
    return QCoreApplication::exec();
}

} // namespace

int main(int argc, char **argv)
{
    PrivateFiles::beginPrivateProcess(false);
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("tallymo-widget"));
    WidgetOptions options;
    if (const std::optional<int> status = readArguments(app.arguments().mid(1), options))
        return *status;
    if (!options.follow)
        LocalTime::readSystemZoneOnce();

    LinuxNetworkInterfaces interfaces = LinuxNetworkInterfaces::fromEnvironment();
    SharedCode shared(SharedCode::Services{Paths::container(), &interfaces});
    if (const QString error = shared.userPref().loadError(); !error.isEmpty()) {
        std::fprintf(stderr, "tallymo-widget: %s\n", qPrintable(error));
        return 1;
    }
    const std::function<void()> emitRecord = [&] { printRecord(shared, options.format); };
    emitRecord();
    if (!options.follow)
        return 0;
    return followReloads(emitRecord);
}
