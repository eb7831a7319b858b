#pragma once

#include <QLocale>

// The app's texts in the user's language: the English wording of the keys that name another
// platform's parts first, then the language of `locale` over it when there is one. Call once,
// before the first screen.
namespace Translations {
// Returns the language installed over English (empty for none).
QString install(const QLocale &locale = QLocale());
} // namespace Translations
