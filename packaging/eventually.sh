# Sourced by the scripts that start programs under Wine.

# True if the command succeeds within a minute.
eventually() {
    for _ in $(seq 600); do
        if "$@"; then
            return 0
        fi
        sleep 0.1
    done
    echo "not within a minute: $*"
    return 1
}
