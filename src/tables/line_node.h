#pragma once

#include <string>
#include <vector>

/// One row of a `GDB2` table: typed cells in column order.
struct LineNode {
    /// One cell. `value` points to the cell's own int, float or std::string, by `type`.
    ///
    /// Numbers live inside the cell itself, so that a table of millions of numbers takes no
    /// allocation a cell; copying and moving therefore set `value` anew.
    class Val {
      public:
        int type = 0;           ///< 0 integer, 1 real (32-bit), 2 text
        void* value = nullptr;  ///< to the value; never null

        explicit Val(int number = 0) noexcept;
        explicit Val(float number) noexcept;
        explicit Val(std::string text);
        Val(const Val& other);
        Val(Val&& other) noexcept;
        Val& operator=(Val other) noexcept;
        ~Val() { release(); }

        /// The value of a cell without text in a cell of `type`: 0, 0.0 or ".".
        static Val blank(int type);

        // The value in another type: a real is truncated and limited to the range of int, text goes
        // through `atoi` and `atof`, numbers print as by a stream.
        int toInt() const;
        float toFloat() const;
        std::string toText() const;

        /// This value as a cell of `wanted` type.
        Val converted(int wanted) const;

        /// Whether both have the same type and equal values.
        bool equals(const Val& other) const;

      private:
        void release() noexcept;
        void take(Val& other) noexcept;

        union {
            int integer;
            float real;
            std::string* text;
        } store_;
        bool ownsText_ = false;
    };

    std::vector<Val> cells;
    int cellCount = 0;  ///< number of cells
    int lineIndex = 0;  ///< row number, from 1
};
