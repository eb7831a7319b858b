#pragma once

#include <QString>

// Shared helpers of the application and its extensions.
class CommonShared
{
public:
    // Byte amounts for display: decimal thresholds with binary divisors ("1.50 GB", "952.7 MB").
    static QString getDataBytesStr(double bytes);
};
