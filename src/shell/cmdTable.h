#pragma once
// Hands every command's declaration, in registration order, to the registry.
void installCommands();
