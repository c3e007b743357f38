"""The commands of the command line, a module each, named like it.

Such a module has ``HELP`` (one line for the list of commands), ``ARGUMENTS`` (the line of usage),
``DESCRIPTION`` and ``EXAMPLES`` for its own help, ``add_arguments(parser)`` and ``run(arguments)``,
which imports what it needs: most commands need only a part of the package.
"""
