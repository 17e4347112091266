// A GTK 2 application with one of each widget.
#include <gtk/gtk.h>

#include "GtkWidgetsShown.h"

int main(int argc, char** argv)
{
    return runShown(argc, argv);
}
