#include "searchpublisher.h"

#include "core/sharedcode.h"
#include "desktop/usageintent.h"
#include "logging.h"

DonatedIntent SearchPublisher::donatedIntent() const
{
    // The phrase becomes findable in the desktop's search, which answers it with the usage.
    return DonatedIntent{UsageIntent::invocationPhrase(), m_shared.clock().now()};
}

void SearchPublisher::publish()
{
    const SearchItem item = SearchItem::make(m_shared.clock().now());
    SearchableIndex(m_shared.containerURL()).publish(item, donatedIntent()); // result ignored (logged)
    m_activity = UserActivity::forSearchItem(item);
}

bool SearchPublisher::openResult(const UserActivity &activity)
{
    qCInfo(lcApp) << "opened from" << activity.activityType << activity.title;
    return true;
}
