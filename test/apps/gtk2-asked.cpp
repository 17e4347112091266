// A GTK 2 application that an engine asks for its menus.
#include <gtk/gtk.h>

#include "GtkAsked.h"

int main(int argc, char** argv)
{
    return runGtk(argc, argv);
}
