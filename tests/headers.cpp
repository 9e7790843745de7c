// Has headers precompiled that many tests include.
