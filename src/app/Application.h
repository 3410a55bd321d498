#pragma once

namespace qormin::app {

// The program: reads the command line, opens the settings store, creates the platform services
// and the main window, and runs it interactively or from a batch file.
//   --batch FILE|-      run the window headless and execute the batch commands
//   --settings FILE     an INI file instead of the user's settings store
//   --data-dir DIR      the folder of the program's text files
//   --demo              start the simulated server and connect both sides to it
//   --exit-after-paint  end once start-up is done (start-up time measurements)
//   --screenshot FILE   save a picture of the window when the run ends
int runApplication(int argc, char** argv);

} // namespace qormin::app
