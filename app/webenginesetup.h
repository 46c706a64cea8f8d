#pragma once
// What must happen before the QApplication exists for the web page to work.

// Shares OpenGL contexts (the web view needs it set before the application
// exists) and, when running as root, turns off Chromium's sandbox, which
// refuses to start as root otherwise.
void prepareWebEngine();
