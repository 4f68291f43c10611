// The kernel library's beginning and end in this process.
#pragma once

// Configures and starts the kernel library and creates the console; from here on messages go through Console.
void Startup();

// Ends the library and deletes the console, in the order that lets nothing print, send or allocate
// afterwards.
void Cleanup();
