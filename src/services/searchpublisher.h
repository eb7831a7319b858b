#pragma once

#include "desktop/searchitem.h"

class SharedCode;

// What the desktop's search finds: each time the window is left, the usage intent is donated and
// the search item made again, so the search finds the app for another year. Both reach the index in
// one write.
class SearchPublisher
{
public:
    explicit SearchPublisher(SharedCode &shared) : m_shared(shared) {}

    void publish();
    // The donation: the phrase that calls the intent, findable from now on.
    DonatedIntent donatedIntent() const;
    // The activity the last search item was made with.
    UserActivity activity() const { return m_activity; }
    // A search result was picked: opening the app is the whole effect.
    bool openResult(const UserActivity &activity);

private:
    SharedCode &m_shared;
    UserActivity m_activity;
};
