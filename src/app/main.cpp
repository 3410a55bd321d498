#include "app/Application.h"

int main(int argc, char** argv) {
    return qormin::app::runApplication(argc, argv);
}
