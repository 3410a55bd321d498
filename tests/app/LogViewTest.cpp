#include "app/LogView.h"
#include "QStringPrinter.h"
#include "db/LogBuffer.h"

#include <gtest/gtest.h>

namespace {

using qormin::app::LogView;
using qormin::db::LogBuffer;

// The view follows the buffer line by line, as it changes, not by copying its text.
TEST(LogViewTest, followsEveryChangeOfItsBuffer) {
    LogBuffer buffer;
    buffer.prepend(QStringLiteral("before the view"));
    LogView view(buffer);
    buffer.prepend(QStringLiteral("Running SQL.."));
    buffer.prepend(QStringLiteral("BACKUP DATABASE Billing\r\nTO DISK = 'x'"));
    buffer.append(QStringLiteral("table list line"));
    EXPECT_EQ(view.toPlainText(),
              QStringLiteral("BACKUP DATABASE Billing\nTO DISK = 'x'\nRunning SQL..\nbefore the "
                             "view\n\ntable list line"));
    buffer.clear();
    EXPECT_EQ(view.toPlainText(), QString());
    buffer.prepend(QStringLiteral("again"));
    EXPECT_EQ(view.toPlainText(), QStringLiteral("again\n"));
    buffer.setText(QStringLiteral("typed\r\ntext"));
    buffer.prepend(QStringLiteral("top"));
    EXPECT_EQ(view.toPlainText(), QStringLiteral("top\ntyped\ntext"));
}

} // namespace
