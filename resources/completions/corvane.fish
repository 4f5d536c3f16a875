# Completion of corvane for fish: commands, options, and the files that each takes.

complete -c corvane -f
complete -c corvane -n __fish_use_subcommand -a schema -d 'Print the inputs of a scene as JSON'
complete -c corvane -n __fish_use_subcommand -a validate -d 'Load a scene and count what it has'
complete -c corvane -n __fish_use_subcommand -a export -d 'Mesh a scene and write it to disk'
complete -c corvane -n __fish_use_subcommand -a zirn -d 'Run a plan against a scene'
complete -c corvane -n __fish_use_subcommand -a gui -d 'Launch the graphical editor'
complete -c corvane -n __fish_use_subcommand -a help -d 'Print the help'
complete -c corvane -n __fish_use_subcommand -l version -s v -d 'Print the version'
complete -c corvane -l help -s h -d 'Print the help'

complete -c corvane -n '__fish_seen_subcommand_from schema validate export zirn' -k -xa '(__fish_complete_suffix .corvane)'
complete -c corvane -n '__fish_seen_subcommand_from zirn' -k -xa '(__fish_complete_suffix .json)'
complete -c corvane -n '__fish_seen_subcommand_from zirn' -s o -l output -rF -d 'Where the scene is saved'
complete -c corvane -n '__fish_seen_subcommand_from export' -s o -l output -rF -d 'Mesh file'
complete -c corvane -n '__fish_seen_subcommand_from export' -l params -x -ka '(__fish_complete_suffix .json)' -d 'Values of variables'
complete -c corvane -n '__fish_seen_subcommand_from export' -l backend -xa 'cpu gpu native' -d 'How the field is evaluated'
complete -c corvane -n '__fish_seen_subcommand_from export' -l cell-size -x -d 'Spacing of the grid'
complete -c corvane -n '__fish_seen_subcommand_from export' -l error-on-empty -d 'An empty mesh is a failure'
