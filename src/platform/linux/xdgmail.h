#pragma once

#include "history/exportcontroller.h"

// The mail program through xdg-email: mail is "set up" when a mailto handler is configured (or
// MAILER names a program). The attachment is a copy under the name the message should show.
class XdgMail : public MailComposer
{
public:
    bool canSendMail() override;
    bool compose(const QString &subject, const QString &body, const QString &file,
                 const QString &attachmentName) override;
};
