# Completion for fish.

# What can be shared, by the way of capture that the line names. Identifier, tab, title: that is what
# fish takes for a word and its description.
function __tarvinel_sources
    set -l words (commandline -opc)
    set -l capture (string match -- '--capture=*' $words)
    if set -l i (contains -i -- --capture $words)
        set capture --capture $words[(math $i + 1)]
    end
    $words[1] --list-sources $capture 2>/dev/null
end

complete -c tarvinel -f
complete -c tarvinel -l headless -d 'Run in a terminal, without a tray'
complete -c tarvinel -l capture -x -a 'auto x11 portal pattern' -d 'How to capture the screen'
complete -c tarvinel -l share -x -a '(__tarvinel_sources)' -d 'Start sharing this source at once'
complete -c tarvinel -l port -x -d 'Port of the web server; 0 takes any free one'
complete -c tarvinel -l uploads -d 'Let participants send photos at once'
complete -c tarvinel -l upload-folder -x -a '(__fish_complete_directories)' -d 'Where photos go in this run'
complete -c tarvinel -l config -r -F -d 'Read the settings from this file'
complete -c tarvinel -l profile -x -a '(__fish_complete_directories)' -d 'Read the built-in profile from this folder'
complete -c tarvinel -l doctor -d 'Look at this computer and tell what is in the way'
complete -c tarvinel -l list-sources -d 'List what can be shared'
complete -c tarvinel -l autostart -x -a 'on off' -d 'Start when you log in to the desktop, or no longer'
complete -c tarvinel -l verbose -d 'Log every request'
complete -c tarvinel -l version -d 'Show the version'
complete -c tarvinel -s h -l help -d 'Show the options'
