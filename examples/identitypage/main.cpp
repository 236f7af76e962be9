// Shows the identity page of examples/identitypage and establishes the unit's identity once it is up.
#include "identitypage.h"

#include <QApplication>
#include <QTimer>

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    IdentityPage page;
    page.show();
    QTimer::singleShot(0, &page, SLOT(identify()));
    return app.exec();
}
