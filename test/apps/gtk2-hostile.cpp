// A GTK 2 application that is hard to read.
#include <gtk/gtk.h>

#include "GtkHostile.h"

int main(int argc, char** argv)
{
    return runHostile(argc, argv);
}
