// A Motif application with a menu bar of as many items as its argument says.
#include <cstdlib>

#include <Xm/CascadeB.h>
#include <Xm/RowColumn.h>
#include <Xm/Xm.h>

int main(int argc, char** argv)
{
    XtAppContext application;
    const Widget shell = XtVaAppInitialize(&application, "GxMenu", nullptr, 0, &argc, argv, nullptr, nullptr);
    const Widget bar = XmCreateMenuBar(shell, const_cast<char*>("bar"), nullptr, 0);
    for (int left = std::atoi(argv[1]); left > 0; --left)
        XtManageChild(XmCreateCascadeButton(bar, const_cast<char*>("item"), nullptr, 0));
    XtManageChild(bar);
    XtRealizeWidget(shell);
    XtAppMainLoop(application);
}
