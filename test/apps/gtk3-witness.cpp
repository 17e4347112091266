// gtk3-witness [modal]: tells what Witness.h says.
#include "GtkWitness.h"

int main(int argc, char** argv)
{
    return runWitness(argc, argv);
}
