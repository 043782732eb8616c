# Completes the options, commands and names that orbplay and orbgfx tell themselves.
function __orb_options
    $argv --help 2>/dev/null | string match -ra -- '--[a-z][a-z-]*'
end
complete -c orbplay -a '(string match -q -- "-*" (commandline -ct); and __orb_options orbplay)'
complete -c orbplay -f -n 'test (commandline -opc)[-1] = --help' \
    -a '(orbplay --list-functions 2>/dev/null | string replace -rf "^  ([a-z_0-9]+)\\(.*" "\$1")'
complete -c orbgfx -f -n __fish_use_subcommand \
    -a '(orbgfx --help 2>/dev/null | string replace -rf "^  ([a-z]+)  +(.*)" "\$1\t\$2")'
complete -c orbgfx -n 'not __fish_use_subcommand; and string match -q -- "-*" (commandline -ct)' \
    -a '(__orb_options orbgfx (commandline -opc)[2])'
