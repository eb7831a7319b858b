#pragma once

#include <QString>

namespace Cli {

struct Services;

enum class MetricsFormat {
    OpenMetrics,    // application/openmetrics-text 1.0.0
    PrometheusText, // text/plain 0.0.4, what node_exporter's textfile collector reads
};

// Every plan's period figures and byte totals as metrics.
QString metricsText(Services &s, MetricsFormat format);

// Why the service could not keep a metrics file at `path` (empty when it can).
QString checkMetricsFile(const QString &path);
// Replaces the file at once: a reader sees the old text or the new, never a part.
bool writeMetricsFile(const QString &path, const QString &text, QString *error);

} // namespace Cli
