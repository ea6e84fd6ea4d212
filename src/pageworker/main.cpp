// faxolino-render: prepares fax pages beside the program that starts it (see FXPageWorker).
// It links only what page preparation needs, so that it starts quickly.

#include "document/FXPageWorker.h"

int main(int argc, char *argv[])
{
    return FXPageWorker::serve(argc, argv);
}
