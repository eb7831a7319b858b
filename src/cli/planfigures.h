#pragma once

#include "services/usagefigures.h"

#include <QString>

#include <utility>

namespace Cli {

struct Services;

// A plan's current period as the status and metrics commands report it.
struct Figures
{
    CurrentValues v;
    double cap = 0; // with rollover; 0 without a cap
    double ratio = 0;
    QString forecast;
    quint32 color = 0;
    qint64 level = 0;
    std::pair<qint64, QString> timeLeft;
};

// The figures of a plan (a null id is the active plan), read from its store.
Figures readFigures(Services &s, const QString &plan);

} // namespace Cli
