# What `cmake --install` lays down.
